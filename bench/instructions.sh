#!/usr/bin/env bash
# Counts the instructions of each operation and of its floor under callgrind, and prints
# their ratios.
#   bench/instructions.sh BUILD_DIR [DETAILS]
set -euo pipefail
build="$1"
size="${2:-1000}"
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
valgrind --tool=callgrind --callgrind-out-file="$out/callgrind.out" \
    "$build/bench/kvt317_bench_instructions" "$size" >/dev/null 2>"$out/log"
callgrind_annotate --inclusive=yes --threshold=100 "$out/callgrind.out" >"$out/annotated"
count() { awk -v f="$1" '$0 ~ ":" f " \\[" { gsub(",", "", $1); print $1; exit }' "$out/annotated"; }
printf '%-14s %15s %15s %7s\n' operation instructions floor ratio
for op in xml_load xml_save binary_save binary_load copy copy_edit equality check; do
    a=$(count "op_$op")
    b=$(count "floor_$op")
    printf '%-14s %15s %15s %7.2f\n' "$op" "$a" "$b" "$(echo "$a / $b" | bc -l)"
done
# The same on a document that holds an application logger.
for op in xml_load xml_save binary_save binary_load copy copy_edit equality check; do
    a=$(count "logger_$op")
    b=$(count "floor_$op")
    printf '%-14s %15s %15s %7.2f\n' "logger/$op" "$a" "$b" "$(echo "$a / $b" | bc -l)"
done
# Located reading: a load with an observer over the same load without.
for op in xml_load binary_load; do
    a=$(count "observed_$op")
    b=$(count "op_$op")
    printf '%-14s %15s %15s %7.2f\n' "observed/$op" "$a" "$b" "$(echo "$a / $b" | bc -l)"
done
a=$(count floor_dom_load)
b=$(count op_xml_load)
printf '%-14s %15s %15s %7.2f\n' "dom/xml_load" "$a" "$b" "$(echo "$a / $b" | bc -l)"
# The library over what a C++ user would pick instead (pugixml for XML, protobuf for binary),
# where the bench was built with them; the third column is the peer's count.
if grep -q ':peer_xml_load \[' "$out/annotated"; then
    for op in xml_load xml_save binary_load binary_save; do
        a=$(count "op_$op")
        b=$(count "peer_$op")
        printf '%-14s %15s %15s %7.2f\n' "peer/$op" "$a" "$b" "$(echo "$a / $b" | bc -l)"
    done
fi
# Copies of a document with an application logger, each given a logger of its own, after the
# document was used: here the second column is the copy at ten times as many details, the
# third the same at the size given, and the ratio tells whether a copy grows with the details.
for use in non_const edited checked copied; do
    a=$(count "used_copy_${use}_large")
    b=$(count "used_copy_${use}_small")
    printf '%-14s %15s %15s %7.2f\n' "used_copy/$use" "$a" "$b" "$(echo "$a / $b" | bc -l)"
done
