#!/bin/sh
# gendoc.sh PROGRAM OUTDIR VERSION DATE
#
# Writes OUTDIR/qzapache.1 (the manual page) and OUTDIR/qzapache.bash (bash
# completion) from the program's own help: `PROGRAM --help`, then
# `PROGRAM COMMAND --help` for every command it lists. Nothing here repeats a
# help text, so new commands and options appear without touching this file.
#
# The help texts are read as blocks separated by blank lines:
#   "Usage: ..."           a synopsis (indented lines continue it)
#   "Title:" + "  TERM  text" lines, continued on lines indented deeper:
#                          a list (options, commands, results, exit status, files)
#   anything else          a paragraph
set -eu
program=$1; out=$2; version=$3; date=$4
work=$(mktemp -d "${TMPDIR:-/tmp}/qzapache-gendoc-XXXXXX")
trap 'rm -rf "$work"' EXIT

"$program" --help > "$work/main"
# The command names: the terms of the "Commands:" list.
awk '/^Commands:$/ { on = 1; next }
     on && /^$/ { exit }
     on && /^  [^ ]/ { sub(/^  /, ""); sub(/  .*/, ""); print }' "$work/main" > "$work/names"
[ -s "$work/names" ] || { echo "gendoc.sh: $program --help lists no command" >&2; exit 1; }
n=0
while read -r name; do
  n=$((n + 1))
  # shellcheck disable=SC2086  # a two-word command is two arguments
  "$program" $name --help > "$work/command.$(printf %04d $n)" ||
    { echo "gendoc.sh: '$program $name --help' failed" >&2; exit 1; }
done < "$work/names"

# The parser both outputs share: lines go into blocks; a list's entries into
# term[], text[] (continuations joined with one blank).
parser='
function flush() {
    if (nlines) block(); nlines = 0
}
function block(   i, line, t, e) {
    if (lines[1] ~ /^Usage: /) { usage(); return }
    if (nlines > 1 && lines[1] ~ /^[A-Z][^ ]*( [^ ]+)*:$/ && lines[2] ~ /^  [^ ]/) {
        title = substr(lines[1], 1, length(lines[1]) - 1); e = 0; after = ""
        for (i = 2; i <= nlines; i++) {
            line = lines[i]
            if (line ~ /^  [^ ]/) {
                line = substr(line, 3); e++
                t = index(line, "  ")
                if (t) { term[e] = substr(line, 1, t - 1); text[e] = trim(substr(line, t)) }
                else { term[e] = line; text[e] = "" }
            } else if (line ~ /^   / && e) text[e] = trim(text[e] " " trim(line))
            else after = after (after == "" ? "" : "\n") line
        }
        entries = e; list(); return
    }
    para = ""
    for (i = 1; i <= nlines; i++) para = para (i > 1 ? "\n" : "") lines[i]
    paragraph()
}
function trim(s) { sub(/^ +/, "", s); sub(/ +$/, "", s); return s }
FNR == 1 { flush(); file++; start() }
/^$/ { flush(); next }
{ lines[++nlines] = $0 }
END { flush(); finish() }
'

# ---- The manual page.
awk -v version="$version" -v date="$date" "$parser"'
function esc(s,   out, n, i, parts, c) {
    gsub(/\\/, "\\\\e", s); gsub(/-/, "\\\\-", s)
    n = split(s, parts, "\n"); out = ""
    for (i = 1; i <= n; i++) {
        c = substr(parts[i], 1, 1)   # a control character of roff at the start of a line
        out = out (i > 1 ? "\n" : "") (c == "." || c == "\047" ? "\\&" : "") parts[i]
    }
    return out
}
# An option in bold and its value placeholder in italics; anything else bold.
function tag(s,   sp) {
    sp = index(s, " ")
    if (s ~ /^-/ && sp) return "\\fB" esc(substr(s, 1, sp - 1)) "\\fR \\fI" esc(substr(s, sp + 1)) "\\fR"
    return "\\fB" esc(s) "\\fR"
}
function start() { nsyn = 0 }
function usage(   i, line) {
    for (i = 1; i <= nlines; i++) {
        line = lines[i]; sub(/^Usage: /, "", line)
        if (line ~ /^ *qzapache /) { sub(/^ *qzapache /, "", line); syn[file, ++nsyn] = trim(line) }
        else syn[file, nsyn] = syn[file, nsyn] " " trim(line)
    }
    nsyns[file] = nsyn
}
function paragraph(   first) {
    if (file > 1) { body[file] = body[file] ".PP\n" esc(para) "\n"; return }
    if (name == "") {
        first = para; sub(/\. .*/, "", first); sub(/\.$/, "", first); gsub(/\n/, " ", first)
        name = tolower(substr(first, 1, 1)) substr(first, 2)
    }
    description = description ".PP\n" esc(para) "\n"
}
function list(   i, s, t) {
    if (file == 1 && title == "Commands") { commandsAt = nsections + 1; return }
    s = ""
    for (i = 1; i <= entries; i++) {
        # "success  the meaning" (results): the two columns apart.
        t = esc(text[i]); gsub(/  +/, " \\\\(em ", t)
        s = s ".TP\n" tag(term[i]) "\n" t "\n"
    }
    if (after != "") s = s ".PP\n" esc(after) "\n"
    if (file == 1) { sections[++nsections] = ".SH " toupper(title) "\n" s; return }
    body[file] = body[file] ".PP\n" esc(title) ":\n.RS\n" s ".RE\n"
}
function finish(   i, k, n) {
    print ".\\\" Generated from qzapache --help by packaging/gendoc.sh: edit the help texts, not this file."
    print ".TH QZAPACHE 1 \"" date "\" \"libqzapache " version "\" \"User Commands\""
    print ".SH NAME\nqzapache \\- " esc(name)
    print ".SH SYNOPSIS"
    for (i = 1; i <= nsyns[1]; i++) print (i > 1 ? ".br\n" : "") "\\fBqzapache\\fR " esc(syn[1, i])
    printf ".SH DESCRIPTION\n%s", description
    for (i = 1; i <= nsections; i++) {
        if (i == commandsAt) commands()
        printf "%s", sections[i]
    }
    if (commandsAt > nsections) commands()
    print ".SH SEE ALSO\n\\fBapachectl\\fR(8), \\fBhtpasswd\\fR(1)"
}
function commands(   k, n) {
    print ".SH COMMANDS"
    for (k = 2; k <= file; k++) {
        n = syn[k, 1]; sub(/^\[GLOBAL OPTIONS\] /, "", n); sub(/ -.*| \[.*/, "", n)
        print ".SS " esc(n)
        print "\\fBqzapache\\fR " esc(syn[k, 1])
        printf "%s", body[k]
    }
}
' "$work/main" "$work"/command.* > "$work/qzapache.1"

# ---- Bash completion.
awk "$parser"'
function start() {}
function usage() {}
function paragraph() {}
function list(   i, words, w, sp) {
    if (file == 1 && title == "Commands") {
        for (i = 1; i <= entries; i++) {
            sp = index(term[i], " ")
            if (!sp) { names[++nnames] = term[i]; continue }
            w = substr(term[i], 1, sp - 1)
            if (w in actions) actions[w] = actions[w] " " substr(term[i], sp + 1)
            else { actions[w] = substr(term[i], sp + 1); names[++nnames] = w; families[++nfamilies] = w }
        }
        return
    }
    if (title != "Global options" && title != "Options") return
    words = ""
    for (i = 1; i <= entries; i++) {
        w = term[i]; sub(/ /, "=", w)   # "--conf FILE" -> "--conf=FILE": a value, and what it is
        words = words (words == "" ? "" : " ") w
    }
    if (file == 1) globals = words
    else options[file] = words
}
function finish(   i, w) {
    print "# bash completion for qzapache(1), generated from its --help texts by packaging/gendoc.sh."
    print "_qzapache_globals=\047" globals "\047"
    printf "_qzapache_commands=\047"
    for (i = 1; i <= nnames; i++) printf "%s%s", (i > 1 ? " " : ""), names[i]
    print "\047"
    print "_qzapache_actions() {\n    case $1 in"
    for (i = 1; i <= nfamilies; i++) print "    " families[i] ") echo \047" actions[families[i]] "\047 ;;"
    print "    esac\n}"
    print "_qzapache_options() {\n    case $1 in"
    i = 1   # file 1 is the program help; file i + 1 the help of the i-th name
    while ((getline w < namesFile) > 0) if (options[++i] != "") print "    \047" w "\047) echo \047" options[i] "\047 ;;"
    print "    esac\n}"
    while ((getline w < scriptFile) > 0) print w
}
' namesFile="$work/names" scriptFile="$(dirname "$0")/completion.bash" "$work/main" "$work"/command.* > "$work/qzapache.bash"

mv "$work/qzapache.1" "$out/qzapache.1"
mv "$work/qzapache.bash" "$out/qzapache.bash"
