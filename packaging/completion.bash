
# The completion itself; gendoc.sh puts the lists above it. An option that
# takes a value is listed as --name=PLACEHOLDER: files are offered for a
# FILE or PATH, folders for a DIR or FOLDER, nothing for other values.
_qzapache_names() {
    local item
    for item in $1; do printf '%s\n' "${item%%=*}"; done
}

_qzapache_family() {   # a first word whose command needs an action word
    [[ $1 != *' '* && -n $(_qzapache_actions "$1") ]]
}

_qzapache() {
    local cur=${COMP_WORDS[COMP_CWORD]} command='' options=$_qzapache_globals word placeholder i=1
    COMPREPLY=()
    while ((i < COMP_CWORD)); do
        word=${COMP_WORDS[i]}
        if [[ $word == -* ]]; then
            if [[ " $options " == *" $word="* ]]; then
                if ((i + 1 == COMP_CWORD)); then   # the word being typed is this option's value
                    placeholder=" $options "
                    placeholder=${placeholder#*" $word="}
                    placeholder=${placeholder%% *}
                    case $placeholder in
                    DIR | *_DIR | *FOLDER*) COMPREPLY=($(compgen -d -- "$cur")) ;;
                    *FILE* | *PATH*) COMPREPLY=($(compgen -f -- "$cur")) ;;
                    esac
                    compopt -o filenames 2>/dev/null
                    return 0
                fi
                ((i++))
            fi
        elif [[ -z $command && $word == help ]]; then
            :
        elif [[ -z $command ]]; then
            command=$word
        elif _qzapache_family "$command"; then
            command+=" $word"
        fi
        options="$_qzapache_globals $(_qzapache_options "$command")"
        ((i++))
    done
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$(_qzapache_names "$options")" -- "$cur"))
    elif [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$_qzapache_commands" -- "$cur"))
    elif _qzapache_family "$command"; then
        COMPREPLY=($(compgen -W "$(_qzapache_actions "$command")" -- "$cur"))
    fi
    return 0
}
complete -F _qzapache qzapache
