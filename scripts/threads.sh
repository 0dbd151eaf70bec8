#!/usr/bin/env bash
# Builds the tests with clang under ThreadSanitizer (build/tsan) and runs the thread tests:
# several threads on one document, and on copies of it. Any report of ThreadSanitizer fails.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
dir=build/tsan
cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKVT317_SANITIZE=thread -DKVT317_BUILD_EXAMPLES=OFF -DKVT317_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j"$(nproc)" --target kvt317_thread_tests
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 "$dir/tests/kvt317_thread_tests"
