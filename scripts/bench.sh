#!/usr/bin/env bash
# Builds a Release tree and runs the benchmark suite: every operation beside its floor, at
# 10, 1,000, 10,000 and 100,000 details; then the instruction counts at 1,000 details.
#   scripts/bench.sh [--qt 5|6] [--smoke] [Google Benchmark options...]
# --smoke runs each benchmark once on the smallest document.
set -euo pipefail
cd "$(dirname "$0")/.."

qt=6
smoke=0
while [ $# -gt 0 ]; do
    case "$1" in
        --qt) qt="$2"; shift 2 ;;
        --smoke) smoke=1; shift ;;
        *) break ;;
    esac
done

bash scripts/deps.sh
dir="build/release-qt$qt"
cmake -S . -B "$dir" -DKVT317_QT_MAJOR="$qt" -DCMAKE_BUILD_TYPE=Release -DKVT317_BUILD_TESTS=OFF \
    >/dev/null
cmake --build "$dir" -j"$(nproc)" --target kvt317_bench kvt317_bench_instructions
if [ "$smoke" = 1 ]; then
    "$dir/bench/kvt317_bench" --benchmark_filter='/10/' --benchmark_min_time=0 "$@"
    exit
fi
"$dir/bench/kvt317_bench" --benchmark_min_time=1 "$@"
bash bench/instructions.sh "$dir" 1000
