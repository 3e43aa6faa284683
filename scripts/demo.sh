#!/bin/sh
# Builds the library and runs the demonstration on a sample configuration in a
# scratch folder (nothing of the real system is read or written).
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target qzapache-demo >/dev/null
exec ./build/qzapache-demo "$@"
