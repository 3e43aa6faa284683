#!/bin/sh
# check_install.sh BUILD SOURCE CXX [deb]
# Installs the build into a scratch folder, compiles every public header alone,
# and builds and runs a program that calls WebsiteExists through pkg-config.
# With "deb", the build's Debian packages are made (cpack), checked by lintian
# and unpacked there instead (dpkg -x); then the unpacked qzapache must run,
# its manual page render and its bash completion answer.
set -eu
build=$1; source=$2; cxx=$3; mode=${4:-install}
scratch=$(mktemp -d /tmp/qzapache-install-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "check_install.sh: $*" >&2; exit 1; }

if [ "$mode" = deb ]; then
  cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/deb" >/dev/null
  # No error, and no warning but the one the README names.
  if ! lintian --fail-on error,warning --suppress-tags maintscript-calls-ldconfig,shared-library-lacks-version "$scratch"/deb/*.deb \
       > "$scratch/lintian" 2>&1; then
    grep -v '^running with root privileges' "$scratch/lintian"; fail "lintian found problems (above)"
  fi
  # A panel with its own tracking library installs libqzapache0 without libqztm.
  ! dpkg-deb -c "$scratch"/deb/libqzapache0_*.deb | grep -q libqztm || fail "libqzapache0 holds the tracking library"
  for deb in "$scratch"/deb/*.deb; do dpkg -x "$deb" "$scratch/tree"; done; prefix=$scratch/tree/usr
  export PKG_CONFIG_SYSROOT_DIR="$scratch/tree"   # the packages' qzapache.pc names /usr
else
  cmake --install "$build" --prefix "$scratch/tree" >/dev/null; prefix=$scratch/tree
fi
pc=$(find "$prefix" -name qzapache.pc); export PKG_CONFIG_PATH="${pc%/*}"
libdir=$(pkg-config --libs-only-L qzapache); libdir=${libdir#-L}; libdir=${libdir%% *}

flags=$(pkg-config --cflags qzapache)
for header in "$source"/include/*.h; do
  printf '#include "%s"\n' "$(basename "$header")" > "$scratch/one.cpp"
  "$cxx" -std=c++17 -Wall -Wextra -Werror $flags -fsyntax-only "$scratch/one.cpp"
done
cat > "$scratch/consumer.cpp" <<'CPP'
#include <libqzapache.h>
#include <cstdio>
int main(int argc, char** argv) {
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, argv[1]);
    int result = website.WebsiteExists("example.com");
    std::printf("%d\n", result);
    return argc == 2 && result == 31 ? 0 : 1;
}
CPP
printf '<VirtualHost *:80>\n    ServerName example.com\n</VirtualHost>\n' > "$scratch/httpd.conf"
# Sanitizer builds need their runtime in the consumer too.
extra=$(grep -q 'QZ_SANITIZE:BOOL=ON' "$build/CMakeCache.txt" && echo "-fsanitize=address,undefined" || true)
"$cxx" -std=c++17 $extra "$scratch/consumer.cpp" -o "$scratch/consumer" $(pkg-config --cflags --libs qzapache)
LD_LIBRARY_PATH="$libdir" "$scratch/consumer" "$scratch/httpd.conf"
[ "$mode" = deb ] || exit 0

# The unpacked program says what the built one says.
LD_LIBRARY_PATH="$libdir" "$prefix/bin/qzapache" --help > "$scratch/help"
"$build/cli/qzapache" --help | cmp -s - "$scratch/help" || fail "the unpacked qzapache --help differs from the built one's"

# The manual page renders without a groff warning and has a section for every command.
MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings -l "$prefix/share/man/man1/qzapache.1.gz" > "$scratch/man" 2> "$scratch/man.err"
[ ! -s "$scratch/man.err" ] || { cat "$scratch/man.err"; fail "man reports problems in the page"; }
for section in NAME SYNOPSIS DESCRIPTION 'GLOBAL OPTIONS' COMMANDS 'EXIT STATUS' FILES; do
  grep -qx "$section" "$scratch/man" || fail "the manual page has no $section section"
done
# Its FILES section names the PHP-FPM, maintenance and Debian module files too.
awk '/^FILES$/ { on = 1; next } on && /^[A-Z]/ { exit } on' "$scratch/man" > "$scratch/files"
for file in '/etc/php/<version>/fpm/pool.d/qz-<domain>.conf' /run/php/ /var/lib/qzapache/maintenance/ /etc/apache2/mods-enabled/; do
  grep -qF "$file" "$scratch/files" || fail "the manual page's FILES section does not name $file"
done
awk '/^Commands:$/ { on = 1; next } on && /^$/ { exit } on { sub(/^  /, ""); sub(/  .*/, ""); print }' "$scratch/help" |
  while read -r command; do
    grep -qx "   $command" "$scratch/man" || fail "the manual page has no section for $command"
  done

# Bash completion: each line of tests/data/cli/completion.cases is "words|what is offered" for the
# last word (@: an empty one).
mkdir "$scratch/folder"; touch "$scratch/folder/httpd.conf"
while IFS='|' read -r line expected; do
  got=$(cd "$scratch" && bash -c '. "$1"; shift; COMP_WORDS=("${@/#@/}"); COMP_CWORD=$(($# - 1)); _qzapache; echo "${COMPREPLY[*]}"' \
        completion "$prefix/share/bash-completion/completions/qzapache" $line)
  [ "$got" = "$expected" ] || fail "completing '$line': '$got', not '$expected'"
done < "$source/tests/data/cli/completion.cases"
