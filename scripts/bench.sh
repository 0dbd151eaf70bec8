#!/usr/bin/env bash
# Builds a Release tree and runs the benchmark suite: every operation beside its floor, at
# 10, 1,000, 10,000 and 100,000 details; then the instruction counts at 1,000 details.
#   scripts/bench.sh [--qt 5|6] [--smoke | --gate] [Google Benchmark options...]
# --smoke runs each benchmark once on the smallest document, and fails if one stops with an
# error. --gate counts instructions only, and fails where a ratio is more than 10 % worse than
# in bench/baseline.txt (bench/gate.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

qt=6
smoke=0
gate=0
while [ $# -gt 0 ]; do
    case "$1" in
        --qt) qt="$2"; shift 2 ;;
        --smoke) smoke=1; shift ;;
        --gate) gate=1; shift ;;
        *) break ;;
    esac
done

bash scripts/deps.sh
dir="build/release-qt$qt"
cmake -S . -B "$dir" -DKVT317_QT_MAJOR="$qt" -DCMAKE_BUILD_TYPE=Release -DKVT317_BUILD_TESTS=OFF \
    >/dev/null
cmake --build "$dir" -j"$(nproc)" --target kvt317_bench kvt317_bench_instructions
if [ "$gate" = 1 ]; then
    exec bash bench/gate.sh "$dir"
fi
if [ "$smoke" = 1 ]; then
    # A benchmark that stops with an error (its floor and the library disagree, the tool
    # failed) still lets the program exit 0: its JSON report says so, and that fails here.
    report=$(mktemp)
    trap 'rm -f "$report"' EXIT
    "$dir/bench/kvt317_bench" --benchmark_filter='/10/' --benchmark_min_time=0 \
        --benchmark_out="$report" --benchmark_out_format=json "$@"
    errors=$(awk -F'"' '$2 == "name" { name = $4 }
                        $2 == "error_occurred" && $3 ~ /true/ { failed = 1 }
                        $2 == "error_message" && failed { print "  " name ": " $4; failed = 0 }' \
        "$report")
    if [ -n "$errors" ] || ! grep -q '"benchmarks"' "$report"; then
        echo "Benchmarks that stopped with an error:" >&2
        echo "$errors" >&2
        exit 1
    fi
    exit
fi
"$dir/bench/kvt317_bench" --benchmark_min_time=1 "$@"
bash bench/instructions.sh "$dir" 1000
