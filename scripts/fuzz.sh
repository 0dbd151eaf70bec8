#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under AddressSanitizer and UndefinedBehaviorSanitizer
# (build/fuzz) and runs each one: first over its whole corpus once, then for a fixed number of
# new inputs. New inputs go to a scratch directory; the corpus in the tree is only read.
#   scripts/fuzz.sh [--runs N] [--target NAME]...
# One target at a time, each in one process (no -jobs or -workers). Prints, per target, the
# executions and seconds libFuzzer reports. Exit 1 on a finding; the input is left in
# build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=5000
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        --runs) runs="$2"; shift 2 ;;
        --target) targets+=("$2"); shift 2 ;;
        *) echo "usage: $0 [--runs N] [--target NAME]..." >&2; exit 2 ;;
    esac
done
if [ ${#targets[@]} -eq 0 ]; then
    targets=(settings_xml settings_binary bearing_xml bearing_binary detail_xml detail_binary
             roundtrip xml_tokenizer)
fi

bash scripts/deps.sh
dir=build/fuzz
cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKVT317_SANITIZE=address,undefined -DKVT317_BUILD_FUZZERS=ON -DKVT317_BUILD_TESTS=OFF \
    -DKVT317_BUILD_EXAMPLES=OFF -DKVT317_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j"$(nproc)" --target $(printf 'fuzz_%s ' "${targets[@]}")

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
findings="$dir/findings"
mkdir -p "$findings"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
options=(-rss_limit_mb=2048 -timeout=30 -print_final_stats=1
         -artifact_prefix="$findings/")
status=0
for target in "${targets[@]}"; do
    binary="$dir/fuzz/fuzz_$target"
    corpus="fuzz/corpus/$target"
    mkdir -p "$scratch/$target"
    log="$scratch/$target.log"
    start=$SECONDS
    if ! "$binary" "${options[@]}" -runs=0 "$corpus" >"$log" 2>&1 ||
        ! "$binary" "${options[@]}" -runs="$runs" "$scratch/$target" "$corpus" >>"$log" 2>&1; then
        echo "fuzz_$target: FINDING"
        tail -n 40 "$log"
        status=1
        continue
    fi
    executed=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$log" | tail -n 1 | grep -o '[0-9]*$')
    echo "fuzz_$target: corpus of $(ls "$corpus" | wc -l) replayed, $executed executions in $((SECONDS - start)) s"
done
exit $status
