#!/bin/sh
# Installs what the demonstration needs (Debian's apache2, apache2-utils, curl,
# php8.2-fpm and the build tools; no service is started), builds the library,
# and walks through websites, virtual directories, private folders, host
# headers, an HTTPS redirect, Perl CGI and a PHP-FPM pool on a real Apache
# (and php-fpm) that run in a scratch folder on 127.0.0.1. The server is stopped and the folder removed at the end.
set -eu
cd "$(dirname "$0")/.."
./scripts/apt-install.sh cmake g++ make libgtest-dev pkgconf apache2 apache2-utils curl php8.2-fpm

echo "== building (the first build takes a few minutes)"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target qzapache-demo --target qzapache-cli >/dev/null

# An empty folder of our own: the demonstration accepts no other.
scratch=$(mktemp -d "${TMPDIR:-/tmp}/qzapache-demo-XXXXXX")
cleanup() {
  # The demonstration stops its server itself; this covers an interrupted run.
  # Only an apache2 started with this folder's configuration is stopped: the
  # number in a stale PID file may belong to another process by now.
  pid=$(cat "$scratch/var/run/apache2.pid" 2>/dev/null || true)
  if [ -n "$pid" ] && [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = apache2 ] &&
     tr '\0' '\n' < "/proc/$pid/cmdline" 2>/dev/null | grep -qxF "$scratch/etc/apache2/apache2.conf"; then
    kill "$pid" 2>/dev/null || true
    i=0
    while [ -d "/proc/$pid" ] && [ $i -lt 50 ]; do sleep 0.1; i=$((i + 1)); done
  fi
  rm -rf "$scratch"
}
trap cleanup EXIT
trap 'exit 130' INT TERM HUP
./build/qzapache-demo "$scratch"

# The same library from the command line, on the configuration the
# demonstration left behind (the server is stopped by now; the sandbox's
# apachectl, first on PATH, checks the syntax).
echo
echo "10. The command-line front end, qzapache, on the same scratch folder (\$ROOT)"
PATH="$scratch/bin:$PATH"
cli() {
  echo "   \$ qzapache --root \$ROOT $*"
  status=0
  ./build/cli/qzapache --root "$scratch" "$@" > "$scratch/cli.out" 2>&1 || status=$?
  sed "s|$scratch|\$ROOT|g; s|^|     |" "$scratch/cli.out"
  echo "     (exit status $status)"
}
cli list-websites
cli --json website-status --domain-name shop.example
cli --verify set-directive --domain-name shop.example --add --directive NoSuchDirective --value on
