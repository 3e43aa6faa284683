#!/bin/sh
# Builds the libFuzzer targets of fuzz/ with clang (AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz and runs each from its seed corpus
# for QZ_FUZZ_SECONDS (default 20). Exits non-zero on any finding (crash,
# leak, timeout, out of memory). The figures of the run go to
# build-fuzz/fuzz-figures.txt; scripts/fuzz-figures.sh prints them.
# Usage: scripts/fuzz.sh [target...]   (default: every target)
set -eu
cd "$(dirname "$0")/.."
seconds=${QZ_FUZZ_SECONDS:-20}
targets=${*:-"website server vhost directory vdir handlers params qzconf"}

cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQZ_FUZZ=ON -DQZ_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc 2>/dev/null || echo 2)" >/dev/null

# The targets run from a folder of their own. As root they run as nobody, so
# that nothing they do can reach beyond the world-writable folders, whatever
# path an input makes up.
tmp=/tmp
[ -w /dev/shm ] && tmp=/dev/shm  # each input rebuilds its scratch root: memory is faster
work=$(mktemp -d "$tmp/qzfuzz-run-XXXXXX")
trap 'rm -rf "$work"' EXIT
as=""
if [ "$(id -u)" -eq 0 ]; then
  as="setpriv --reuid=nobody --regid=nogroup --clear-groups"
fi
figures=build-fuzz/fuzz-figures.txt
: > "$figures"
failed=0
for t in $targets; do
  mkdir -p "$work/$t/corpus" "$work/$t/artifacts"
  cp build-fuzz/fuzz/fuzz_$t "$work/$t/"
  cp fuzz/corpus/$t/* "$work/$t/corpus/"
  chmod -R a+rwX "$work"
  echo "== fuzz_$t: ${seconds}s"
  status=0
  (cd "$work/$t" && QZ_FUZZ_TMP="$work/$t" ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    $as ./fuzz_$t -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=8192 \
      -close_fd_mask=1 -print_final_stats=1 -artifact_prefix=artifacts/ corpus \
      > log.txt 2>&1) || status=$?
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$t/log.txt" | tail -1)
  findings=$(ls "$work/$t/artifacts" | wc -l)
  if [ "$status" -ne 0 ] && [ "$findings" -eq 0 ]; then findings=1; fi
  echo "fuzz_$t seconds=$seconds executions=${execs:-0} findings=$findings" | tee -a "$figures"
  if [ "$findings" -ne 0 ]; then
    failed=1
    tail -n 60 "$work/$t/log.txt"
    mkdir -p build-fuzz/findings && cp -r "$work/$t/artifacts/." build-fuzz/findings/ 2>/dev/null || true
  fi
done
[ "$failed" -eq 0 ] || { echo "== fuzzing found problems (inputs in build-fuzz/findings)"; exit 1; }
echo "== fuzzing: no findings"
