#!/bin/sh
# Installs the build into a scratch prefix, compiles every public header alone,
# and builds and runs a program that calls WebsiteExists through pkg-config.
set -eu
build=$1; source=$2; cxx=$3
prefix=$(mktemp -d /tmp/qzapache-install-XXXXXX)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
flags=$(pkg-config --cflags qzapache)
for header in "$source"/include/*.h; do
  printf '#include "%s"\n' "$(basename "$header")" > "$prefix/one.cpp"
  "$cxx" -std=c++17 -Wall -Wextra -Werror $flags -fsyntax-only "$prefix/one.cpp"
done
cat > "$prefix/consumer.cpp" <<'CPP'
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
printf '<VirtualHost *:80>\n    ServerName example.com\n</VirtualHost>\n' > "$prefix/httpd.conf"
# Sanitizer builds need their runtime in the consumer too.
extra=$(grep -q 'QZ_SANITIZE:BOOL=ON' "$build/CMakeCache.txt" && echo "-fsanitize=address,undefined" || true)
"$cxx" -std=c++17 $extra "$prefix/consumer.cpp" -o "$prefix/consumer" $(pkg-config --cflags --libs qzapache)
LD_LIBRARY_PATH="$prefix/lib" "$prefix/consumer" "$prefix/httpd.conf"
