#!/usr/bin/env bash
# kvt317's command line: help, argument parsing, read and write failures, and the guard
# that turns any exception into a message and exit status 2.
#   cli_test.sh KVT317 EXAMPLES_DIR [sanitized]
source "$(dirname "$0")/lib.sh"
sanitized="${3:-}"

run "version" 0 kvt317 --version
out <<<"kvt317 1.0.0"

run "help" 0 kvt317 --help
head -n 1 out >first
same first <<<"Usage: kvt317 COMMAND [OPTIONS] ARGUMENTS"
count=$(grep -c '^  [a-z]* ' out)
[ "$count" = 12 ] && passes=$((passes + 1)) || fail "the general help lists $count commands, not 12"
for command in check convert show dump diff new members get set unset add remove; do
    run "help $command" 0 kvt317 "$command" --help
    grep -q "^Usage: kvt317 $command \[OPTIONS\]" out && passes=$((passes + 1)) \
        || fail "no usage line for $command"
done

run "check help" 0 kvt317 check -h
out <<'TEXT'
Usage: kvt317 check [OPTIONS] FILE...

Reads each document as the library does and reports, one line each and in input
order, what it finds: FILE:LINE:COLUMN: error|warning: RECORD: message. Binary
positions are byte offsets, as FILE:1:OFFSET+1 (compressed input: in the inflated
frame). Reported are the library's own reports, tied to the detail they came from,
and what the library accepts in silence: unknown elements and attributes, numbers
that do not read in full or overflow, unknown enumeration names, date-times that
do not read, members given twice, more decimals than a member keeps, invalid UTF-8
and whole numbers beyond 32 bits in binary input, texts XML cannot carry. Beyond 20
identical diagnostics the rest are counted. It also warns about what the library
accepts but is most likely a slip: a frequency range whose start lies above its
stop, and a Name or an index that two items share (--no-lint leaves these out).
Exit 0 when every document is clean, 1 when any has faults, 2 when one cannot be
read.

Options:
  -q, --quiet         print only the count of files and faults
  --format FORMAT     text (the default) or json
  --no-lint           leave out the warnings about likely slips (start above stop, a Name or index twice)
  -h, --help          show this help
TEXT

# ---- usage errors: exit 2, a message that starts kvt317:, and where to look
run "no command" 2 kvt317
err <<'TEXT'
kvt317: no command given
Try 'kvt317 --help'.
TEXT
run "unknown command" 2 kvt317 frobnicate
err <<'TEXT'
kvt317: unknown command 'frobnicate'
Try 'kvt317 --help'.
TEXT
run "unknown option" 2 kvt317 check --strict examples/settings.xml
err <<'TEXT'
kvt317: unknown option '--strict'
Try 'kvt317 check --help'.
TEXT
run "mistyped command" 2 kvt317 sett examples/settings.xml
err <<'TEXT'
kvt317: unknown command 'sett'; did you mean 'set'?
Try 'kvt317 --help'.
TEXT
run "mistyped option" 2 kvt317 set --forse examples/settings.xml Threshold 1
err <<'TEXT'
kvt317: unknown option '--forse'; did you mean '--force'?
Try 'kvt317 set --help'.
TEXT
# A reader that goes away ends the command quietly, as it ends grep and git.
{ echo '<KVT317_Settings>'; for i in $(seq 400); do sed -n '/<KVT317SettingsDetail/,/<\/KVT317SettingsDetail>/p' examples/settings.xml; done; echo '</KVT317_Settings>'; } >long.xml
run "closed pipe" 0 bash -c "'$tool' show long.xml | head -n 1"
out <<<"long.xml: KVT317_Settings, XML, 1,200 items"
err </dev/null
run "missing argument" 2 kvt317 diff examples/settings.xml
err <<'TEXT'
kvt317: diff takes A B
Try 'kvt317 diff --help'.
TEXT
run "extra argument" 2 kvt317 new extra
err <<'TEXT'
kvt317: new takes no arguments
Try 'kvt317 new --help'.
TEXT
run "bad form" 2 kvt317 convert examples/settings.xml x.bin --to=yaml
err <<'TEXT'
kvt317: --to takes xml, json, binary (bin) or compressed (binz), not 'yaml'
Try 'kvt317 convert --help'.
TEXT
run "bad level" 2 kvt317 convert examples/settings.xml x.binz --level=12
err <<'TEXT'
kvt317: --level takes a number from -1 to 9, not '12'
Try 'kvt317 convert --help'.
TEXT
run "bad format" 2 kvt317 check --format=yaml examples/settings.xml
err <<'TEXT'
kvt317: --format takes text or json, not 'yaml'
Try 'kvt317 check --help'.
TEXT
run "unknown ending" 2 kvt317 convert examples/settings.xml s.txt
err <<'TEXT'
kvt317: cannot tell the output form from 's.txt'; name it .xml, .json, .bin or .binz, or use --to
Try 'kvt317 convert --help'.
TEXT

# ---- --opt=value, --opt value, options anywhere, and -- before names that start with -
run "opt=value" 0 kvt317 convert --to=binary examples/settings.xml s.out
same_file "opt=value bytes" s.out examples/settings.bin
run "opt value after the arguments" 0 kvt317 convert examples/settings.xml s2.out --to binary
same_file "opt value bytes" s2.out examples/settings.bin
cp examples/settings.xml ./-dash.xml
run "double dash" 0 kvt317 check -- -dash.xml
out <<<"checked 1 file, 0 with faults"
run "double dash output" 0 kvt317 convert examples/settings.xml -- -dash.bin
same_file "double dash output bytes" ./-dash.bin examples/settings.bin
run "negative value" 0 kvt317 set examples/bearing-settings.xml LevelThreshold -101
run "negative value read" 0 kvt317 get examples/bearing-settings.xml LevelThreshold
out <<<"-101"

# ---- inputs that cannot be read: the system's reason, exit 2
run "missing file" 2 kvt317 check none.xml
err <<<"kvt317: cannot read 'none.xml': No such file or directory"
out <<<"checked 1 file, 1 with faults"
mkdir directory
run "directory" 2 kvt317 show directory
err <<<"kvt317: cannot read 'directory': Is a directory"
: >empty.xml
run "empty input" 1 kvt317 check empty.xml
out <<'TEXT'
empty.xml:1:1: error: the input is empty; expected a settings document in XML, JSON or binary form
checked 1 file, 1 with faults (1 error, 0 warnings)
TEXT
run "empty stdin" 1 kvt317 show - </dev/null
err <<<"<stdin>:1:1: error: the input is empty; expected a settings document in XML, JSON or binary form"

# ---- writes that fail: reported with the system's reason, exit 2
run "full device" 2 kvt317 convert examples/settings.xml /dev/full --to xml
err <<<"kvt317: cannot write '/dev/full': No space left on device"
[ -c /dev/full ] && passes=$((passes + 1)) || fail "/dev/full is no longer a device"
run "full standard output" 2 sh -c '"$0" convert examples/settings.xml - --to xml >/dev/full' "$tool"
err <<<"kvt317: cannot write to standard output: No space left on device"
run "show to a full standard output" 2 sh -c '"$0" show examples/settings.xml >/dev/full' "$tool"
err <<<"kvt317: cannot write to standard output: No space left on device"
run "new to a full standard output" 2 sh -c '"$0" new >/dev/full' "$tool"
err <<<"kvt317: cannot write to standard output: No space left on device"
run "closed standard output" 2 sh -c '"$0" show examples/settings.xml >&-' "$tool"
err <<<"kvt317: cannot write to standard output: Bad file descriptor"
run "missing directory" 2 kvt317 convert examples/settings.xml no/such/dir/s.bin
err <<<"kvt317: cannot write 'no/such/dir/s.bin': No such file or directory"
printf 'precious' >keep.bin
chmod a-w .
if [ "$(id -u)" != 0 ]; then
    run "read-only directory" 2 kvt317 convert examples/settings.xml keep.bin
    err <<<"kvt317: cannot lock 'keep.bin': its lock file '$(pwd -P)/keep.bin.lock' cannot be created: Permission denied"
else
    skip "read-only directory" "root may write into a read-only directory"
fi
chmod u+w .
[ "$(cat keep.bin)" = precious ] && passes=$((passes + 1)) || fail "keep.bin was changed"

# ---- any exception ends in a message and exit 2, never in an abort
if [ -z "$sanitized" ]; then
    run "out of memory" 2 bash -c "ulimit -v 200000; head -c 300000000 /dev/zero | '$tool' check -"
    err <<<"kvt317: out of memory"
else
    skip "out of memory" "the sanitizers' allocator does not fail at the address space limit"
fi

finish
