#!/bin/sh
# Installs what the tests need, builds a normal and an AddressSanitizer +
# UndefinedBehaviorSanitizer configuration, and runs the whole suite in both.
# Exits non-zero on any failure.
set -eu
cd "$(dirname "$0")/.."

# apache2-utils: the real htpasswd, which the web-user and private-folder tests use.
# apache2, curl: the real server and client of the end-to-end tests (tests/e2e).
packages="cmake g++ make libgtest-dev pkgconf apache2-utils apache2 curl"
missing=""
for p in $packages; do
  dpkg -s "$p" >/dev/null 2>&1 || missing="$missing $p"
done
if [ -n "$missing" ]; then
  ./scripts/apt-install.sh $missing   # as root or through sudo; starts no service
fi

jobs=$(nproc 2>/dev/null || echo 2)
run() {
  dir=$1; shift
  echo "== $dir: configure, build, test"
  cmake -S . -B "$dir" "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs")
}
run build -DCMAKE_BUILD_TYPE=RelWithDebInfo
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  run build-asan -DCMAKE_BUILD_TYPE=Debug -DQZ_SANITIZE=ON
echo "== all tests passed"
