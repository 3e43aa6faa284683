#!/bin/bash
# The benchmark in one command: builds the library and the benchmark in
# Release, generates configurations of 100, 1,000, 10,000 and 50,000 websites
# in a scratch folder, runs every operation next to its floor (repetitions,
# median), measures peak memory, times augtool and sed -i on the same edits,
# and rewrites bench/RESULTS.md.
#
# Settings (environment): QZ_BENCH_SIZES (default 100,1000,10000,50000),
# QZ_PEER_SIZES (default "100 1000 10000": augtool takes minutes beyond),
# QZ_BENCH_REPETITIONS (5), QZ_BENCH_MIN_TIME (seconds per repetition, 0.5),
# QZ_BENCH_DIR (scratch folder; default /dev/shm when writable, else /tmp),
# QZ_PEER_TIMEOUT (seconds an augtool run may take, 300).
set -euo pipefail
cd "$(dirname "$0")/.."

sizes=${QZ_BENCH_SIZES:-100,1000,10000,50000}
peer_sizes=${QZ_PEER_SIZES:-100 1000 10000}
repetitions=${QZ_BENCH_REPETITIONS:-5}
min_time=${QZ_BENCH_MIN_TIME:-0.5}

./scripts/apt-install.sh cmake g++ make libbenchmark-dev python3 augeas-tools

build=build-bench
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQZ_BENCH=ON -DQZ_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target qzbench qzbench-generate

base=${QZ_BENCH_DIR:-}
if [ -z "$base" ]; then
  base=/tmp
  [ -d /dev/shm ] && [ -w /dev/shm ] && base=/dev/shm
fi
work=$(mktemp -d "$base/qzbench.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/files"

echo "== generating configurations in $work/files"
for n in ${sizes//,/ }; do
  "$build/bench/qzbench-generate" "$n" "$work/files/sites-$n.conf"
done

echo "== benchmark ($repetitions repetitions of at least ${min_time}s each)"
TMPDIR=$work "$build/bench/qzbench" --files "$work/files" --sizes "$sizes" --mem_out "$work/memory.tsv" \
  --benchmark_repetitions="$repetitions" --benchmark_min_time="$min_time" \
  --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
  --benchmark_out="$work/bench.json" --benchmark_out_format=json

echo "== peers on ${peer_sizes} websites"
TMPDIR=$work bench/peers.sh "$build/bench/qzbench-generate" "$work/files" "$work/peers.tsv" $peer_sizes

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
python3 bench/report.py --bench "$work/bench.json" --memory "$work/memory.tsv" --peers "$work/peers.tsv" \
  --files "$work/files" --command "./bench/run.sh" --compiler "${compiler:-c++}" \
  --scratch "$base (tmpfs when /dev/shm)" --repetitions "$repetitions" >bench/RESULTS.md.new
mv bench/RESULTS.md.new bench/RESULTS.md
echo "== wrote bench/RESULTS.md"
