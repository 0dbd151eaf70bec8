#!/usr/bin/env bash
# Builds the tests with clang under ThreadSanitizer (build/tsan) and runs every test that
# starts threads: the thread program (several threads on one document, and on copies of it)
# and, from the main test program, the tests whose name holds "Thread" (the logger, copies
# on distinct threads, locked edits from several threads, deep nesting on a small stack).
# Any report of ThreadSanitizer fails.
#
# The naming rule is checked first: a test in tests/*.cpp that starts a thread (std::thread,
# QThread, std::async, or the suite's own RunThreads and WithSmallStack, in its own body)
# must have "Thread" in its suite or test name, or live in tests/thread_test.cpp.
set -euo pipefail
cd "$(dirname "$0")/.."

# Prints "file: Suite.Name" for each TEST whose body starts a thread but whose name lacks
# "Thread".
unnamed_thread_tests() {
    awk '
        FNR == 1 || /^}/ { name = "" }
        /^TEST(_F|_P)?\(/ {
            name = $0
            sub(/^TEST(_F|_P)?\(/, "", name)
            sub(/\).*/, "", name)
            gsub(/, */, ".", name)
        }
        name != "" && name !~ /Thread/ &&
            /std::thread|QThread|std::async|QtConcurrent|RunThreads\(|WithSmallStack\(/ {
            print FILENAME ": " name
            name = ""
        }
    ' $(ls tests/*_test.cpp | grep -v '^tests/thread_test.cpp$')
}

unnamed=$(unnamed_thread_tests)
if [ -n "$unnamed" ]; then
    echo "These tests start threads but have no \"Thread\" in their names, so ThreadSanitizer"
    echo "would not run them:"
    echo "$unnamed"
    exit 1
fi

bash scripts/deps.sh
dir=build/tsan
cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKVT317_SANITIZE=thread -DKVT317_BUILD_EXAMPLES=OFF -DKVT317_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j"$(nproc)" --target kvt317_thread_tests kvt317_tests
# tests/tsan.supp: races that ThreadSanitizer reports inside the C library's own locking.
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/tests/tsan.supp"
"$dir/tests/kvt317_thread_tests"
# The filter must select the tests named above; a filter that selects none would pass.
count=$("$dir/tests/kvt317_tests" --gtest_filter='*Thread*' --gtest_list_tests | grep -c '^  ')
if [ "$count" -lt 8 ]; then
    echo "only $count tests of kvt317_tests are named for threads; expected at least 8"
    exit 1
fi
"$dir/tests/kvt317_tests" --gtest_filter='*Thread*'
