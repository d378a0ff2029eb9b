#!/bin/bash
# Builds libVemlo's benchmarks (Release) and runs each once, side by side
# with the libraries they compare against.
#   scripts/bench.sh [FILTER]      FILTER: a benchmark program name pattern
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/deps.sh"
vemlo_need_packages "${VEMLO_BUILD_PACKAGES[@]}" "${VEMLO_BENCH_PACKAGES[@]}"
build=$root/build/bench
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
    -DVEMLO_BUILD_EXAMPLES=OFF -DVEMLO_BUILD_BENCHMARKS=ON > /dev/null
cmake --build "$build" -j "$(nproc)" > /dev/null
for b in "$build"/bench/*; do
    [ -x "$b" ] && [ -f "$b" ] || continue
    case $(basename "$b") in ${1:-*}) ;; *) continue ;; esac
    echo "=== $(basename "$b")"
    "$b" --benchmark_counters_tabular=true
done
