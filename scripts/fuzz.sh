#!/bin/sh
# Builds the libFuzzer targets of fuzz/ with clang (AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz (only the fuzz_* programs) and
# runs each target: first every input of fuzz/regressions/<target>/ once (a
# failing replay fails the run), then from its seed corpus for
# QZ_FUZZ_SECONDS (default 20). Exits non-zero on any finding (crash, leak,
# timeout, out of memory). The inputs of the findings go to
# build-fuzz/findings/, which is emptied at the start of every run. The
# figures of the run go to build-fuzz/fuzz-figures.txt; scripts/fuzz-figures.sh
# prints them.
# Usage: scripts/fuzz.sh [target...]   (default: every target)
set -eu
cd "$(dirname "$0")/.."
seconds=${QZ_FUZZ_SECONDS:-20}
targets=${*:-"website server vhost directory vdir handlers params qzconf"}

cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQZ_FUZZ=ON -DQZ_BUILD_TESTS=OFF >/dev/null
programs=""
for t in $targets; do programs="$programs fuzz_$t"; done
# shellcheck disable=SC2086
cmake --build build-fuzz -j "$(nproc 2>/dev/null || echo 2)" --target $programs >/dev/null
rm -rf build-fuzz/findings
mkdir -p build-fuzz/findings

# The targets run from a folder of their own. As root they run as nobody, so
# that nothing they do can reach beyond the world-writable folders, whatever
# path an input makes up; where mount namespaces are available, each target
# also runs in one of its own in which every mount but that folder is
# read-only.
tmp=/tmp
[ -w /dev/shm ] && tmp=/dev/shm  # each input rebuilds its scratch root: memory is faster
work=$(mktemp -d "$tmp/qzfuzz-run-XXXXXX")
trap 'rm -rf "$work"' EXIT
as=""
if [ "$(id -u)" -eq 0 ]; then
  as="setpriv --reuid=nobody --regid=nogroup --clear-groups"
fi
# sealed FOLDER COMMAND...: COMMAND in a private mount namespace where every
# mount but FOLDER is read-only; COMMAND as it is where there is none.
sealed() {
  if [ -n "$private" ]; then
    unshare $private sh -c '
      dir=$1; shift
      mount --make-rprivate / && mount --bind "$dir" "$dir" || exit 125
      for m in $(sed "s/^[^ ]* [^ ]* [^ ]* [^ ]* \([^ ]*\) .*/\1/" /proc/self/mountinfo | sort -r); do
        [ "$m" = "$dir" ] || mount -o remount,bind,ro "$m" 2>/dev/null || true
      done
      exec "$@"' sealed "$@"
  else
    shift; "$@"
  fi
}
private=""
if [ "$(id -u)" -eq 0 ] && unshare -m true 2>/dev/null; then
  private="-m"
elif unshare -rm true 2>/dev/null; then
  private="-rm"
  as=""  # the mapped root of a user namespace cannot change user
fi
[ -n "$private" ] || echo "== no mount namespace here: the targets run without one"
figures=build-fuzz/fuzz-figures.txt
: > "$figures"
failed=0
for t in $targets; do
  mkdir -p "$work/$t/corpus" "$work/$t/artifacts" "$work/$t/regressions"
  cp build-fuzz/fuzz/fuzz_$t "$work/$t/"
  cp fuzz/corpus/$t/* "$work/$t/corpus/"
  regressions=$(find fuzz/regressions/$t -type f ! -name .gitkeep 2>/dev/null | wc -l)
  [ "$regressions" -eq 0 ] || cp $(find fuzz/regressions/$t -type f ! -name .gitkeep) "$work/$t/regressions/"
  chmod -R a+rwX "$work"
  env="QZ_FUZZ_TMP=$work/$t ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1"
  status=0
  if [ "$regressions" -ne 0 ]; then
    echo "== fuzz_$t: replaying $regressions input(s) of fuzz/regressions/$t"
    # shellcheck disable=SC2086
    (cd "$work/$t" && sealed "$work" env $env $as ./fuzz_$t -timeout=10 -rss_limit_mb=2048 \
      -close_fd_mask=1 -artifact_prefix=artifacts/ regressions/* > replay.txt 2>&1) || status=$?
    if [ "$status" -ne 0 ]; then
      tail -n 60 "$work/$t/replay.txt"
      echo "fuzz_$t replay of fuzz/regressions/$t failed"
    fi
  fi
  echo "== fuzz_$t: ${seconds}s"
  if [ "$status" -eq 0 ]; then
    # shellcheck disable=SC2086
    (cd "$work/$t" && sealed "$work" env $env $as ./fuzz_$t -max_total_time="$seconds" -timeout=10 \
      -rss_limit_mb=2048 -max_len=8192 -close_fd_mask=1 -print_final_stats=1 -artifact_prefix=artifacts/ corpus \
      > log.txt 2>&1) || status=$?
  fi
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$t/log.txt" 2>/dev/null | tail -1)
  findings=$(ls "$work/$t/artifacts" | wc -l)
  if [ "$status" -ne 0 ] && [ "$findings" -eq 0 ]; then findings=1; fi
  echo "fuzz_$t seconds=$seconds executions=${execs:-0} findings=$findings" | tee -a "$figures"
  if [ "$findings" -ne 0 ]; then
    failed=1
    [ ! -s "$work/$t/log.txt" ] || tail -n 60 "$work/$t/log.txt"
    cp -r "$work/$t/artifacts/." build-fuzz/findings/ 2>/dev/null || true
  fi
done
[ "$failed" -eq 0 ] || { echo "== fuzzing found problems (inputs in build-fuzz/findings)"; exit 1; }
echo "== fuzzing: no findings"
