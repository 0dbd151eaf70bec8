#!/usr/bin/env bash
# Runs kvt317 as a process on the shipped examples and on damaged inputs, and checks exit
# statuses and output lines.
#   tool_test.sh KVT317 EXAMPLES_DIR
set -uo pipefail
tool="$1"
examples="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
passes=0

# expect NAME STATUS COMMAND...: runs the command, keeps its output in $work/out.
expect() {
    local name="$1" status="$2"
    shift 2
    "$@" >"$work/out" 2>"$work/err"
    local actual=$?
    if [ "$actual" = "$status" ]; then
        passes=$((passes + 1))
    else
        echo "FAIL $name: exit $actual, expected $status"
        sed 's/^/    /' "$work/out" "$work/err"
        failures=$((failures + 1))
    fi
}

# contains NAME TEXT: the last output (stdout and stderr) holds the exact line.
contains() {
    if cat "$work/out" "$work/err" | grep -qxF -- "$2"; then
        passes=$((passes + 1))
    else
        echo "FAIL $1: no line '$2' in:"
        sed 's/^/    /' "$work/out" "$work/err"
        failures=$((failures + 1))
    fi
}

# ---- help and usage
expect help 0 "$tool" --help
contains help "Usage: kvt317 COMMAND [OPTIONS] ..."
expect version 0 "$tool" --version
contains version "kvt317 1.0.0"
for command in check convert show dump diff new; do
    expect "help $command" 0 "$tool" "$command" --help
    grep -q "^Usage: kvt317 $command" "$work/out" && passes=$((passes + 1)) \
        || { echo "FAIL help $command"; failures=$((failures + 1)); }
done
expect "no command" 2 "$tool"
expect "unknown command" 2 "$tool" frobnicate
contains "unknown command" "kvt317: unknown command 'frobnicate'"
expect "unknown option" 2 "$tool" check --strict "$examples/settings.xml"
expect "missing arguments" 2 "$tool" diff "$examples/settings.xml"
expect "bad level" 2 "$tool" convert "$examples/settings.xml" "$work/x.binz" --level 12

# ---- check
expect "check examples" 0 "$tool" check "$examples/settings.xml" "$examples/settings.bin" \
    "$examples/settings.binz" "$examples/bearing-settings.xml" "$examples/bearing-settings.bin"
contains "check examples" "checked 5 files, 0 with faults"
expect "check stdin" 0 "$tool" check - <"$examples/settings.binz"
contains "check stdin" "checked 1 file, 0 with faults"
expect "check missing file" 2 "$tool" check "$work/none.xml"
contains "check missing file" "$work/none.xml: ERROR: cannot read the input"

sed 's|<Threshold>10</Threshold>||' "$examples/settings.xml" >"$work/incomplete.xml"
expect "check incomplete" 1 "$tool" check "$work/incomplete.xml"
contains "check incomplete" "$work/incomplete.xml: ERROR: KVT317SettingsDetail: Please set Threshold properly."
contains "check incomplete" "checked 1 file, 1 with faults"

printf '<KVT317_Settings>\n<KVT317SettingsDetail>\n</KVT317_Settings>\n' >"$work/malformed.xml"
expect "check malformed" 1 "$tool" check "$work/malformed.xml"
contains "check malformed" "$work/malformed.xml: ERROR: XML error in line 3, column 18: Opening and ending tag mismatch."

head -c 100 "$examples/settings.bin" >"$work/truncated.bin"
expect "check truncated" 1 "$tool" check "$work/truncated.bin"
contains "check truncated" "$work/truncated.bin: ERROR: KVT317SettingsDetail::SetBinary(...): Length error occurred during processing of binary representation"

printf '\x0e\x9d\xcc\x54\x00\x00\x00\x00' >"$work/range.bin"
expect "check other record type" 1 "$tool" check "$work/range.bin"
contains "check other record type" "$work/range.bin: ERROR: FrequencyRange: Please set StartFrequency properly."
printf '\x12\x34\x56\x78\x00\x00\x00\x00' >"$work/foreign.bin"
expect "check foreign" 1 "$tool" check "$work/foreign.bin"
contains "check foreign" "$work/foreign.bin: ERROR: Binary frame of unknown record type 0x12345678"

# An unknown entry inside the root is skipped.
printf '\x5d\xf5\xf4\x65\x00\x00\x00\x14\x01\x02\x03\x04\x00\x00\x00\x00\x09\x75\x1b\x80\x00\x00\x00\x04\x00\x00\x00\x00' >"$work/unknown-tag.bin"
expect "check unknown tag" 1 "$tool" check "$work/unknown-tag.bin"
contains "check unknown tag" "$work/unknown-tag.bin: ERROR: KVT317_Settings: Please set KVT317SettingsDetail properly."

# ---- convert
expect "convert to binary" 0 "$tool" convert "$examples/settings.xml" "$work/s.bin"
cmp -s "$work/s.bin" "$examples/settings.bin" && passes=$((passes + 1)) \
    || { echo "FAIL convert to binary: bytes differ"; failures=$((failures + 1)); }
expect "convert back" 0 "$tool" convert "$work/s.bin" "$work/s.xml"
cmp -s "$work/s.xml" "$examples/settings.xml" && passes=$((passes + 1)) \
    || { echo "FAIL convert back: text differs"; failures=$((failures + 1)); }
expect "convert compressed" 0 "$tool" convert "$examples/bearing-settings.xml" "$work/b.out" --to compressed --level 9
expect "convert compressed back" 0 "$tool" convert "$work/b.out" - --to xml
cmp -s "$work/out" "$examples/bearing-settings.xml" && passes=$((passes + 1)) \
    || { echo "FAIL convert compressed back"; failures=$((failures + 1)); }
expect "convert unknown ending" 2 "$tool" convert "$examples/settings.xml" "$work/s.txt"

printf 'precious' >"$work/keep.xml"
expect "failed convert keeps output" 1 "$tool" convert "$work/truncated.bin" "$work/keep.xml"
[ "$(cat "$work/keep.xml")" = "precious" ] && passes=$((passes + 1)) \
    || { echo "FAIL failed convert changed the output"; failures=$((failures + 1)); }
expect "unwritable output" 2 "$tool" convert "$examples/settings.xml" "$work/no/such/dir/s.bin"

# ---- show
expect "show" 0 "$tool" show "$examples/settings.binz"
contains "show" "$examples/settings.binz: KVT317_Settings, compressed binary"
contains "show" "    FrequencyRange        118.000000 MHz .. 137.000000 MHz"
contains "show" "    BandwidthDF           25.0 kHz"
expect "show bearing" 0 "$tool" show "$examples/bearing-settings.xml"
contains "show bearing" "  Frequency             121.500000 MHz"
expect "show unset" 0 "$tool" show "$work/incomplete.xml"
contains "show unset" "    unset:                Threshold"

# ---- dump
expect "dump" 0 "$tool" dump "$examples/bearing-settings.bin"
contains "dump" "       0  frame 0x856C9896 BearingSettings, length 426"
contains "dump" "       8    0x58D44D66 Name, length 28: \"VHF airband sector north\""
contains "dump" "      44    0x1FAAD4BF Index, length 8: 1"
expect "dump compressed" 0 "$tool" dump "$examples/settings.binz"
contains "dump compressed" "       8    0x09751B80 KVT317SettingsDetail, length 1080, 3 items"
expect "dump unknown tag" 0 "$tool" dump "$work/unknown-tag.bin"
contains "dump unknown tag" "       8    0x01020304 (unknown), length 0: "
expect "dump truncated" 1 "$tool" dump "$work/truncated.bin"
contains "dump truncated" "damaged at offset 4: expected a record length of at most 92"
expect "dump xml" 2 "$tool" dump "$examples/settings.xml"

# ---- diff
expect "diff equal" 0 "$tool" diff "$examples/settings.xml" "$examples/settings.binz"
contains "diff equal" "equal"
sed 's|<Threshold>15</Threshold>|<Threshold>16</Threshold>|' "$examples/settings.xml" >"$work/changed.xml"
expect "diff changed" 1 "$tool" diff "$examples/settings.xml" "$work/changed.xml"
contains "diff changed" "KVT317SettingsDetail[2].Threshold: 15 -> 16"
expect "diff types" 1 "$tool" diff "$examples/settings.xml" "$examples/bearing-settings.xml"
contains "diff types" "A is KVT317_Settings, B is BearingSettings"
expect "diff stdin" 0 "$tool" diff - "$examples/settings.bin" <"$examples/settings.xml"

# ---- new
expect "new" 0 "$tool" new -o "$work/new.xml"
expect "new checks clean" 0 "$tool" check "$work/new.xml"
expect "new bearing" 0 "$tool" new --bearing
contains "new bearing" "<BearingSettings Name=\"Bearing 1\" Index=\"1\">"

echo "$passes passed, $failures failed"
[ "$failures" = 0 ]
