#!/usr/bin/env bash
# Runs an example program in a fresh directory and checks what a user of it would see: exit
# status 0, standard output exactly the expected file, and nothing on standard error.
#   run_example.sh EXPECTED_OUTPUT PROGRAM [ARGUMENTS...]
set -uo pipefail
expected="$1"
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 2
# Qt warns on standard error when it has no runtime directory of its own.
mkdir -m 0700 runtime
status=0
XDG_RUNTIME_DIR="$work/runtime" "$@" >out 2>err || status=$?
result=0
if [ "$status" != 0 ]; then
    echo "FAIL: exit status $status, expected 0"
    result=1
fi
if ! diff -u "$expected" out; then
    echo "FAIL: the output is not $expected"
    result=1
fi
if [ -s err ]; then
    echo "FAIL: output on standard error:"
    sed 's/^/    /' err
    result=1
fi
[ "$result" = 0 ] && echo "exit status 0, output as expected"
exit "$result"
