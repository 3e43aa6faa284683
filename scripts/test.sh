#!/bin/sh
# Installs what the tests need, builds a normal and an AddressSanitizer +
# UndefinedBehaviorSanitizer configuration, and runs the whole suite in both.
# Exits non-zero on any failure.
set -eu
cd "$(dirname "$0")/.."

# apache2-utils: the real htpasswd, which the web-user and private-folder tests use.
# apache2, curl: the real server and client of the end-to-end tests (tests/e2e).
# php8.2-fpm: the real php-fpm of the PHP-FPM end-to-end test.
# clang, libclang-rt-14-dev: libFuzzer and FuzzedDataProvider.h for fuzz/.
# dpkg-dev, file, lintian, man-db, groff-base: the Debian packages' test (cpack's
# dependency list, lintian, man -l).
packages="cmake g++ make libgtest-dev pkgconf apache2-utils apache2 curl clang libclang-rt-14-dev
          dpkg-dev file lintian man-db groff-base php8.2-fpm"
./scripts/apt-install.sh $packages   # only the missing ones; as root or through sudo; starts no service

# The end-to-end tests fail, rather than skip, when a real Apache is missing.
export QZ_E2E_REQUIRED=1
# As root, every unit test runs inside the guard (tests/TestGuard.h): a test
# that starts a real server tool or writes to /etc, /var or /run fails.
if [ "$(id -u)" -eq 0 ]; then
  export QZ_GUARD_REQUIRED=1
else
  echo "== not root: the unit tests run without their guard"
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
# Leak detection really works here, then every fuzz target runs for a bounded time.
echo "== LeakSanitizer: a deliberate leak must be reported"
leak_dir=$(mktemp -d)
g++ -fsanitize=address -g fuzz/leak_check.cpp -o "$leak_dir/leak"
if ASAN_OPTIONS=detect_leaks=1 "$leak_dir/leak" > "$leak_dir/out" 2>&1 \
   || ! grep -q "ERROR: LeakSanitizer: detected memory leaks" "$leak_dir/out"; then
  cat "$leak_dir/out"; rm -rf "$leak_dir"
  echo "== LeakSanitizer does not report leaks on this machine"; exit 1
fi
rm -rf "$leak_dir"
./scripts/fuzz.sh
echo "== fuzzing passed"
echo "== all tests passed"
