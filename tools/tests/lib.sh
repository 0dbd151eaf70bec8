# Helpers for the kvt317 process tests. Sourced with the tool and the examples directory
# as $1 and $2; each test runs in a fresh directory that holds a copy of the examples.
set -uo pipefail
tool="$1"
source_examples="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 2
mkdir examples
cp "$source_examples"/*.xml "$source_examples"/*.bin "$source_examples"/*.binz examples/
kvt317() { "$tool" "$@"; }
failures=0
passes=0
skipped=0
name=

fail() {
    echo "FAIL $name: $*"
    failures=$((failures + 1))
}

# run NAME STATUS COMMAND...: runs the command with its output in ./out and ./err and
# checks its exit status.
run() {
    name="$1"
    local status="$2"
    shift 2
    "$@" >out 2>err
    local actual=$?
    if [ "$actual" = "$status" ]; then
        passes=$((passes + 1))
    else
        fail "exit $actual, expected $status"
        sed 's/^/    out: /' out
        sed 's/^/    err: /' err
    fi
}

# out / err: the last command's standard output / error is exactly standard input.
same() {
    if diff -u - "$1" >diff.txt; then
        passes=$((passes + 1))
    else
        fail "$1 differs:"
        sed 's/^/    /' diff.txt
    fi
}
out() { same out; }
err() { same err; }

# same_file NAME A B: two files hold the same bytes.
same_file() {
    if cmp -s "$2" "$3"; then
        passes=$((passes + 1))
    else
        name="$1"
        fail "$2 and $3 differ"
    fi
}

# Binary documents by hand, all integers big-endian.
be32() {
    local n=$(($1 & 0xFFFFFFFF))
    printf "$(printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((n >> 24 & 255)) $((n >> 16 & 255)) \
        $((n >> 8 & 255)) $((n & 255)))"
}
be64() {
    be32 $(($1 >> 32))
    be32 "$1"
}
# A text in Qt's byte-array form: its byte count, then the bytes (printf escapes apply).
text() {
    local f
    f=$(mktemp)
    printf "$1" >"$f"
    be32 "$(stat -c%s "$f")"
    cat "$f"
    rm -f "$f"
}
# entry TAG: a tag, the length of standard input, then standard input. A record's frame
# has the same shape: its tag, its length and its entries.
entry() {
    local f
    f=$(mktemp)
    cat >"$f"
    be32 "$1"
    be32 "$(stat -c%s "$f")"
    cat "$f"
    rm -f "$f"
}

# skip CHECK REASON: a check that cannot run here is counted and said, never silent. Where
# KVT317_NO_SKIPS is set (CI sets it), a skip is a failure unless KVT317_ALLOWED_SKIPS holds a
# line "CHECK: why it may be skipped there".
skip() {
    local check="$1" reason="$2" line
    if [ -n "${KVT317_NO_SKIPS:-}" ]; then
        while IFS= read -r line; do
            [[ "$line" == "$check: "?* ]] && break
        done <<<"${KVT317_ALLOWED_SKIPS:-}"
        if [[ "$line" != "$check: "?* ]]; then
            name="$check"
            fail "skipped ($reason), and no skip of it is allowed here"
            return
        fi
    fi
    echo "SKIP $check: $reason"
    skipped=$((skipped + 1))
}

finish() {
    echo "$passes passed, $failures failed, $skipped skipped"
    [ "$failures" = 0 ]
}
