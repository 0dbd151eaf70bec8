#!/usr/bin/env bash
# Counts the instructions of the XML tokenizer and of QXmlStreamReader's readNext loop over
# the same document under callgrind, per run.
#   bench/tokenizer_instructions.sh BUILD_DIR [DETAILS]
set -euo pipefail
build="$1"
size="${2:-1000}"
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
valgrind --tool=callgrind --callgrind-out-file="$out/callgrind.out" \
    "$build/bench/kvt317_bench_tokenizer" "$size" >"$out/stdout" 2>"$out/log"
cat "$out/stdout"
callgrind_annotate --inclusive=yes --threshold=100 "$out/callgrind.out" >"$out/annotated"
count() { awk -v f="$1" '$0 ~ ":" f " \\[" { gsub(",", "", $1); print $1; exit }' "$out/annotated"; }
runs=3
printf '%-22s %15s\n' operation "instructions/run"
for op in tok_tokenize tok_tokenize_strings tok_utf8 qt_readnext_bytes qt_readnext_string \
    pugixml_parse; do
    n=$(count "$op")
    [ -n "$n" ] && printf '%-22s %15d\n' "$op" $((n / runs))
done
