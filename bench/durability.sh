#!/bin/bash
# The cost of the lock and of the syncs: the benchmark's rewrites on the
# 10,000-website file, timed with this tree's library and with the library of
# the last commit before the lock and the syncs, on tmpfs (where fsync costs
# nothing, so what is left is the lock) and on a disk-backed folder (what a
# rewrite pays for fsync). Writes bench/DURABILITY.md.
#
# Settings (environment): QZ_BASE (the commit without the lock, a7d82f1),
# QZ_DISK_DIR (a folder on a disk, /var/tmp), QZ_BENCH_REPETITIONS (5 a round,
# three rounds a library, alternated), QZ_BENCH_MIN_TIME (seconds a repetition, 0.5).
set -euo pipefail
cd "$(dirname "$0")/.."

base_commit=${QZ_BASE:-a7d82f1}
disk=${QZ_DISK_DIR:-/var/tmp}
repetitions=${QZ_BENCH_REPETITIONS:-5}
min_time=${QZ_BENCH_MIN_TIME:-0.5}
sites=10000
filter="^(CopyMoveFloor|DeleteWebsite|StopWebsite|Apache_UpdateDirectiveInVH|Apache_AddDirectiveInVH|CreateVirtualDirectory|DeleteVirtualDirectory|EnablePhp)/$sites/"

./scripts/apt-install.sh cmake g++ make libbenchmark-dev python3

work=$(mktemp -d /tmp/qzdurability.XXXXXX)
trap 'rm -rf "$work"' EXIT

build() {   # source folder, build folder
  cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Release -DQZ_BENCH=ON -DQZ_BUILD_TESTS=OFF >/dev/null
  cmake --build "$2" -j "$(nproc)" --target qzbench qzbench-generate >/dev/null
}
echo "== building this tree and $base_commit"
build . build-bench
mkdir -p "$work/base"
git archive "$base_commit" | tar -x -C "$work/base"
build "$work/base" "$work/base/build"

for place in tmpfs disk; do
  folder=/dev/shm
  [ "$place" = disk ] && folder=$disk
  files=$(mktemp -d "$folder/qzdurability.XXXXXX")
  build-bench/bench/qzbench-generate "$sites" "$files/sites-$sites.conf"
  for round in 1 2 3; do
    for library in before after; do
      binary=build-bench/bench/qzbench
      [ "$library" = before ] && binary=$work/base/build/bench/qzbench
      echo "== $place, round $round, $library"
      TMPDIR=$files "$binary" --files "$files" --sizes "$sites" --benchmark_filter="$filter" \
        --benchmark_repetitions="$repetitions" --benchmark_min_time="$min_time" \
        --benchmark_enable_random_interleaving=true --benchmark_format=json \
        --benchmark_out="$work/$place-$library-$round.json" --benchmark_out_format=json >/dev/null
    done
  done
  rm -rf "$files"
done

python3 - "$work" "$disk" "$base_commit" "$(git rev-parse --short HEAD)" >bench/DURABILITY.md.new <<'EOF'
import json, os, statistics, sys
work, disk, base, head = sys.argv[1:5]
def times(place, library, key):
    out = {}
    for round_ in (1, 2, 3):
        with open(os.path.join(work, f"{place}-{library}-{round_}.json")) as f:
            for b in json.load(f)["benchmarks"]:
                if b.get("run_type") != "iteration":
                    continue
                scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
                out.setdefault(b["run_name"].split("/")[0], []).append(b[key] * scale)
    return {k: statistics.median(v) for k, v in out.items()}
print("# The cost of the lock and of fsync\n")
print(f"Reproduce with `./bench/durability.sh`. Each rewrite of the benchmark on its 10,000-website file"
      f" (5.5 MB), timed with the library of `{base}` (before: no lock, no fsync) and of `{head}` (after:"
      f" every editing operation holds the lock; the scratch file is synced before its `mv`, the file and"
      f" its folder after). Median of three alternated rounds of repetitions each; times in ms: the"
      f" elapsed time of a call (its commands included) and the CPU time of the calling process alone"
      f" (where the lock's system calls show; an fsync waits without using CPU). Load average at the end:"
      f" {os.getloadavg()[0]:.2f} on {os.cpu_count()} CPUs.\n")
for place, label in (("tmpfs", "/dev/shm (tmpfs: fsync does nothing, the difference is the lock)"),
                     ("disk", f"{disk} (a disk-backed file system: the difference is mostly fsync)")):
    before, after = times(place, "before", "real_time"), times(place, "after", "real_time")
    cpu_before, cpu_after = times(place, "before", "cpu_time"), times(place, "after", "cpu_time")
    print(f"## {label}\n")
    print("| operation | elapsed before | elapsed after | after / before | CPU before | CPU after | after / before |")
    print("|---|---:|---:|---:|---:|---:|---:|")
    for name in sorted(before, key=lambda n: (n != "CopyMoveFloor", n)):
        label_ = "*floor: copy+mv*" if name == "CopyMoveFloor" else name
        print(f"| {label_} | {before[name]:.2f} | {after[name]:.2f} | {after[name] / before[name]:.2f}"
              f" | {cpu_before[name]:.2f} | {cpu_after[name]:.2f} | {cpu_after[name] / cpu_before[name]:.2f} |")
    print()
EOF
mv bench/DURABILITY.md.new bench/DURABILITY.md
echo "== wrote bench/DURABILITY.md"
