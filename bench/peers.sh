#!/bin/bash
# The same edits done by other tools on the same files, for comparison with
# the library: augtool (Augeas, Httpd lens) and sed -i. Each edit works on a
# fresh copy of the generated file.
#   bench/peers.sh GENERATOR FILES_DIR OUT.tsv SIZE...
# Writes lines "tool<TAB>edit<TAB>sites<TAB>seconds<TAB>status" (status: ok,
# timeout or failed). augtool runs are bounded by QZ_PEER_TIMEOUT seconds
# (default 300): on large files it can take minutes.
set -u
generator=$1 files=$2 out=$3
shift 3
timeout_s=${QZ_PEER_TIMEOUT:-300}
runs=${QZ_PEER_RUNS:-5}

"$(dirname "$0")/../scripts/apt-install.sh" augeas-tools >/dev/null

work=$(mktemp -d "${TMPDIR:-/tmp}/qzbench-peers.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/conf"
conf=$work/conf/httpd.conf
printf 'tool\tedit\tsites\tseconds\tstatus\n' >"$out"

now() { date +%s.%N; }

# augtool_edit SITES DOMAIN EDIT: one augtool run of the edit on a fresh copy.
augtool_edit() {
  local domain=$2 edit=$3 vhost command
  vhost="/files/conf/httpd.conf/VirtualHost[directive[.='ServerName']/arg='$domain']"
  case $edit in
    alias) command="set $vhost/directive[.='ServerAlias']/arg[1] new.$domain" ;;
    remove) command="rm $vhost" ;;
  esac
  timeout "$timeout_s" augtool -r "$work" --noautoload --autosave >/dev/null 2>&1 <<AUG
set /augeas/load/Httpd/lens Httpd.lns
set /augeas/load/Httpd/incl /conf/httpd.conf
load
$command
AUG
}

# sed_edit SITES DOMAIN EDIT: the same edit with one sed -i.
sed_edit() {
  local domain=${2//./\\.} edit=$3
  case $edit in
    alias) sed -i "/^[[:space:]]*ServerName $domain\$/,/<\/VirtualHost>/ s|^\([[:space:]]*ServerAlias\) .*|\1 new.$2|" "$conf" ;;
    remove) sed -i -e '/^<VirtualHost/{:a' -e 'N;/<\/VirtualHost>/!ba' -e "/\n[[:space:]]*ServerName $domain\n/d" -e '}' "$conf" ;;
  esac
}

# measure TOOL SITES EDIT RUNS: the median of RUNS timed runs.
measure() {
  local tool=$1 sites=$2 edit=$3 n=$4 domain status=ok times=() start end rc
  domain=$("$generator" --target "$sites")
  for ((i = 0; i < n; i++)); do
    cp "$files/sites-$sites.conf" "$conf"
    start=$(now)
    "${tool}_edit" "$sites" "$domain" "$edit"
    rc=$?
    end=$(now)
    if [ $rc -eq 124 ]; then status=timeout; times+=("$timeout_s"); break; fi
    if [ $rc -ne 0 ] || cmp -s "$files/sites-$sites.conf" "$conf"; then status=failed; fi
    times+=("$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.6f", b - a }')")
  done
  median=$(printf '%s\n' "${times[@]}" | sort -g | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}')
  printf '%s\t%s\t%s\t%s\t%s\n' "$tool" "$edit" "$sites" "$median" "$status" >>"$out"
  echo "  $tool $edit on $sites sites: ${median}s ($status)" >&2
}

for sites in "$@"; do
  for edit in alias remove; do
    measure sed "$sites" "$edit" "$runs"
    # One augtool run is enough once it takes seconds.
    measure augtool "$sites" "$edit" "$([ "$sites" -ge 10000 ] && echo 1 || echo 3)"
  done
done
