#!/usr/bin/env bash
# Checks documents against the schemas with xmllint: those the library writes (through the
# document generator, the kvt317 tool and the shipped examples) and those written by hand.
# A file named SCHEMA.VERDICT.CASE.xml must be accepted by schema/SCHEMA.xsd when VERDICT is
# "valid" and rejected when it is "invalid".
#   validate.sh XMLLINT SCHEMA_DIR WORK_DIR GENERATOR KVT317 EXAMPLES_DIR DOCUMENTS_DIR
set -uo pipefail

xmllint=$1 schemas=$2 work=$3 generator=$4 kvt317=$5 examples=$6 documents=$7

rm -rf "$work"
mkdir -p "$work/written"
written="$work/written"
"$generator" "$written" || { echo "the document generator failed"; exit 1; }
"$kvt317" new -o "$written/KVT317_Settings.valid.kvt317-new.xml" || exit 1
"$kvt317" new --bearing -o "$written/BearingSettings.valid.kvt317-new-bearing.xml" || exit 1
"$kvt317" convert "$examples/settings.bin" "$written/KVT317_Settings.valid.example-bin.xml" ||
    exit 1
cp "$examples/settings.xml" "$written/KVT317_Settings.valid.example.xml"
cp "$examples/bearing-settings.xml" "$written/BearingSettings.valid.example.xml"

failures=0
declare -A counts
for file in "$written"/*.xml "$documents"/*.xml; do
    base=$(basename "$file")
    schema=${base%%.*}
    rest=${base#*.}
    verdict=${rest%%.*}
    if [ ! -f "$schemas/$schema.xsd" ] || { [ "$verdict" != valid ] && [ "$verdict" != invalid ]; }
    then
        echo "FAIL $base: not named SCHEMA.valid|invalid.CASE.xml"
        failures=$((failures + 1))
        continue
    fi
    if output=$("$xmllint" --noout --schema "$schemas/$schema.xsd" "$file" 2>&1); then
        got=valid
    else
        got=invalid
    fi
    counts[$schema.$verdict]=$((${counts[$schema.$verdict]:-0} + 1))
    if [ "$got" != "$verdict" ]; then
        echo "FAIL $base: expected $verdict, xmllint says $got"
        echo "$output" | sed 's/^/    /'
        failures=$((failures + 1))
    fi
done

# Every schema must have been tried both ways; an empty directory must not pass.
for key in KVT317_Settings.valid KVT317_Settings.invalid BearingSettings.valid \
           BearingSettings.invalid; do
    echo "$key: ${counts[$key]:-0} documents"
    if [ "${counts[$key]:-0}" -lt 2 ]; then
        echo "FAIL too few $key documents"
        failures=$((failures + 1))
    fi
done
if [ "$failures" -ne 0 ]; then
    echo "$failures failures"
    exit 1
fi
echo "all documents as expected"
