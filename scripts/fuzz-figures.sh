#!/bin/sh
# Prints the figures of the last fuzz run (scripts/fuzz.sh, also run by the
# test command) as the table of docs/robustness.md.
set -eu
cd "$(dirname "$0")/.."
figures=build-fuzz/fuzz-figures.txt
[ -s "$figures" ] || { echo "no fuzz run yet: run scripts/fuzz.sh" >&2; exit 1; }
echo "| Target | Seconds | Executions | Findings |"
echo "|---|---:|---:|---:|"
sed -n 's/^\(fuzz_[a-z]*\) seconds=\([0-9]*\) executions=\([0-9]*\) findings=\([0-9]*\)$/| `\1` | \2 | \3 | \4 |/p' "$figures"
