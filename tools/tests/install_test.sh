#!/usr/bin/env bash
# The installed kvt317: it runs without LD_LIBRARY_PATH from wherever its prefix is moved
# to, its man page documents every command, option and exit status, its bash completion
# completes, and every command line of the README's console blocks gives the output shown.
#   install_test.sh KVT317 EXAMPLES_DIR "" BUILD_DIR SOURCE_DIR
source "$(dirname "$0")/lib.sh"
build="$4"
source_dir="$5"

cmake --install "$build" --prefix "$work/prefix" >/dev/null || { echo "install failed"; exit 1; }
# A moved prefix still works: the RPATH is relative to the program.
mv "$work/prefix" "$work/moved"
installed="$work/moved/bin/kvt317"
run "installed runs" 0 env -u LD_LIBRARY_PATH "$installed" --version
out <<<"kvt317 1.0.0"
run "installed works" 0 env -u LD_LIBRARY_PATH "$installed" check examples/settings.binz
out <<<"checked 1 file, 0 with faults"

# ---- the man page: every command, every option of every command, every exit status
page="$work/moved/share/man/man1/kvt317.1"
[ -f "$page" ] && passes=$((passes + 1)) || fail "no man page at $page"
sed 's/\\-/-/g; s/\\f[BIRP]//g' "$page" >page.txt
name="man page"
for command in check convert show dump diff new members get set unset add remove; do
    grep -q "^\.B[I]* *\"\?$command\b" "$page" && passes=$((passes + 1)) \
        || fail "no entry for the command $command"
    "$installed" "$command" --help >help.txt
    for option in $(grep -o -- '--[a-z]*' help.txt | sort -u); do
        grep -q -- "$option" page.txt && passes=$((passes + 1)) \
            || fail "$command's option $option is missing"
    done
done
for status in 0 1 2; do
    sed -n '/^\.SH EXIT STATUS/,/^\.SH/p' "$page" | grep -qx "\.B $status" && passes=$((passes + 1)) \
        || fail "exit status $status is missing"
done
if command -v groff >/dev/null; then
    run "man page renders" 0 groff -man -Tutf8 -wall "$page"
    err </dev/null
else
    skip "man page renders" "no groff"
fi

# ---- bash completion
completion="$work/moved/share/bash-completion/completions/kvt317"
complete_words() {
    bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kvt317 "$1"
             printf "%s\n" "${COMPREPLY[@]}"' completion "$completion" "$@"
}
run "complete commands" 0 complete_words kvt317 c
out <<'TEXT'
check
convert
TEXT
run "complete options" 0 complete_words kvt317 check --
out <<'TEXT'
--help
--quiet
--format
--no-lint
TEXT
run "complete forms" 0 complete_words kvt317 convert a.xml --to ''
out <<'TEXT'
xml
json
binary
bin
compressed
binz
TEXT
run "complete records" 0 complete_words kvt317 members KVT
out <<'TEXT'
KVT317_Settings
KVT317SettingsDetail
TEXT
run "complete files" 0 complete_words kvt317 show examples/bearing-settings.x
out <<<"examples/bearing-settings.xml"
run "complete a value after '='" 0 complete_words kvt317 show --format = j
out <<<"json"
run "complete values right after '='" 0 complete_words kvt317 diff a.xml --by =
out <<'TEXT'
position
name
TEXT
run "complete a path's first member" 0 complete_words "$installed" get examples/settings.xml KVT
out <<<"KVT317SettingsDetail["
run "complete a list's positions" 0 \
    complete_words "$installed" set examples/settings.xml "KVT317SettingsDetail["
out <<'TEXT'
KVT317SettingsDetail[*].
KVT317SettingsDetail[1].
KVT317SettingsDetail[2].
KVT317SettingsDetail[3].
TEXT
run "complete members after a quoted Name" 0 \
    complete_words "$installed" unset examples/settings.xml 'KVT317SettingsDetail[Name="a.b"].A'
out <<'TEXT'
KVT317SettingsDetail[Name="a.b"].AntennaPol
KVT317SettingsDetail[Name="a.b"].AntPreAmp
KVT317SettingsDetail[Name="a.b"].AverageMode
KVT317SettingsDetail[Name="a.b"].AttSelect
KVT317SettingsDetail[Name="a.b"].AttenuationHoldValue
KVT317SettingsDetail[Name="a.b"].AttenuationHoldTime
TEXT
run "complete a nested record's members" 0 \
    complete_words "$installed" get examples/settings.xml KVT317SettingsDetail[2].FrequencyRange.
out <<'TEXT'
KVT317SettingsDetail[2].FrequencyRange.StartFrequency
KVT317SettingsDetail[2].FrequencyRange.StopFrequency
TEXT
run "complete an enumeration's names" 0 \
    complete_words "$installed" set examples/settings.xml KVT317SettingsDetail[1].DF_Alt ""
out <<'TEXT'
AUTO
WATSONWATT
CORRELATION
SUPERRESOLUTION
VECTORMATCHING
TEXT
run "complete a name with a blank" 0 \
    complete_words "$installed" set examples/settings.xml --wait 3 \
    KVT317SettingsDetail[1].Threshold 12 KVT317SettingsDetail[1].BandwidthDF 12.5
out <<'TEXT'
12.50\ Hz
12.5\ kHz
TEXT
run "complete a new detail's members" 0 complete_words "$installed" add examples/settings.xml Fr
out <<<"FrequencyRange."
run "complete a new detail's values" 0 \
    complete_words "$installed" add examples/settings.xml AverageMode ""
out <<'TEXT'
OFF
GATE
NORM
TEXT
run "no paths in what is no document" 0 \
    complete_words "$installed" get examples/CMakeLists.txt ""
out <<<""

# ---- the README: each "$ " line of a console block, in order, in one directory that holds
# the examples, with the installed tool on the PATH; the lines after it are its output
# (standard output and error), and "# exit N" at its end the status it must give.
export PATH="$work/moved/bin:$PATH"
unset LD_LIBRARY_PATH
command=
expected=
commands=0
check_command() {
    [ -n "$command" ] || return
    local status=0
    [[ "$command" =~ \#\ exit\ ([0-9]+)$ ]] && status="${BASH_REMATCH[1]}"
    commands=$((commands + 1))
    run "README: $command" "$status" bash -c "$command"
    cat err >>out
    same out < <(printf '%s' "$expected")
    command=
    expected=
}
in_block=0
while IFS= read -r line; do
    if [ "$in_block" = 0 ]; then
        [ "$line" = '```console' ] && in_block=1
        continue
    fi
    if [ "$line" = '```' ]; then
        check_command
        in_block=0
    elif [[ "$line" == '$ '* ]]; then
        check_command
        command="${line#\$ }"
    else
        expected+="$line"$'\n'
    fi
done <"$source_dir/README.md"
[ "$commands" -ge 20 ] && passes=$((passes + 1)) || fail "only $commands README commands found"

finish
