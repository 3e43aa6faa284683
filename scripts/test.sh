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

# ---- Robustness: leak detection really works; fuzz targets -----------------------
# clang and its runtime (libclang-rt-14-dev has libFuzzer and FuzzedDataProvider.h).
fuzz_packages="clang libclang-rt-14-dev"
missing=""
for p in $fuzz_packages; do
  dpkg -s "$p" >/dev/null 2>&1 || missing="$missing $p"
done
if [ -n "$missing" ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -q && $sudo apt-get install -y -q $missing
fi
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
