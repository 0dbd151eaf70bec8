#!/usr/bin/env bash
# The speed gate: counts instructions at 1,000 details under callgrind (bench/instructions.sh),
# where a run on a busy machine counts what a quiet one does, and fails when an operation's
# ratio to its floor is more than 10 % worse than in bench/baseline.txt.
#   bench/gate.sh BUILD_DIR            compare with the baseline
#   bench/gate.sh BUILD_DIR --write    write the baseline from this run
# BUILD_DIR is a Release build with kvt317_bench_instructions (scripts/bench.sh --gate).
set -euo pipefail
build="$1"
mode="${2:-compare}"
here="$(cd "$(dirname "$0")" && pwd)"
baseline="$here/baseline.txt"
tolerance=1.10

measured=$(bash "$here/instructions.sh" "$build" 1000 | awk 'NR > 1 { print $1, $4 }')

if [ "$mode" = --write ]; then
    {
        echo "# Instruction ratios, operation over its floor, at 1,000 details on Qt 6 in a Release"
        echo "# build: the Qt 6.4 instruction column of the README's performance table. \"higher\""
        echo "# marks a ratio that gets worse as it grows, \"lower\" one that gets worse as it falls."
        echo "# bench/gate.sh fails when a ratio is more than 10 % worse; after a change that makes"
        echo "# one better, or worse on purpose, write this file again with bench/gate.sh BUILD --write."
        while read -r operation ratio; do
            case "$operation" in dom/*) worse=lower ;; *) worse=higher ;; esac
            printf '%-21s %6s %s\n' "$operation" "$ratio" "$worse"
        done <<<"$measured"
    } >"$baseline"
    echo "wrote $baseline"
    exit
fi

failed=0
printf '%-21s %8s %8s %8s\n' operation baseline now limit
while read -r operation expected worse; do
    case "$operation" in '#'* | '') continue ;; esac
    now=$(awk -v op="$operation" '$1 == op { print $2 }' <<<"$measured")
    if [ -z "$now" ]; then
        echo "$operation: not measured" >&2
        failed=1
        continue
    fi
    if [ "$worse" = lower ]; then
        limit=$(echo "scale=4; $expected / $tolerance" | bc)
        bad=$(echo "$now < $limit" | bc)
    else
        limit=$(echo "scale=4; $expected * $tolerance" | bc)
        bad=$(echo "$now > $limit" | bc)
    fi
    verdict=
    if [ "$bad" = 1 ]; then
        verdict="  more than 10 % worse"
        failed=1
    fi
    printf '%-21s %8s %8s %8.2f%s\n' "$operation" "$expected" "$now" "$limit" "$verdict"
done <"$baseline"
exit "$failed"
