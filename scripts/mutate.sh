#!/usr/bin/env bash
# Mutation check, run by hand (not in CI): does the suite notice when the library is wrong?
#
# Applies each mutation below, one at a time, to a scratch copy of the tree (the working
# tree as it stands, uncommitted changes included), rebuilds incrementally in one build
# directory kept between mutations, and runs the suite, stopping at the first failing test:
# kvt317_tests (the slow memory tests last), the model tests, and the tool's shell tests.
# Prints for each mutation whether it was caught and by which test, and exits non-zero when
# any survives (or cannot be applied or built).
#
#   scripts/mutate.sh            all mutations
#   scripts/mutate.sh 3 17       only these (numbers as printed)
#   scripts/mutate.sh --list     the mutations, and whether each still applies
#
# Environment: MUTATE_DIR (scratch directory, default /tmp/kvt317-mutate), JOBS (default 2).
set -euo pipefail
cd "$(dirname "$0")/.."

scratch=${MUTATE_DIR:-/tmp/kvt317-mutate}
jobs=${JOBS:-2}
tree=$scratch/tree
build=$scratch/build

# ---- The mutations: file, sed expression, what it breaks ------------------------------

files=()
exprs=()
whats=()
mutation() {
    files+=("$1")
    exprs+=("$2")
    whats+=("$3")
}

# Member tables: tags, defaults, decimals, required and attribute members.
mutation src/FrequencyRange.cpp 's/DefaultValue(88000000/DefaultValue(88000001/' \
    "default start frequency 88000001"
mutation src/FrequencyRange.cpp '/StopFrequency/s/Fixed(0, 2)/Fixed(0, 3)/' \
    "stop frequency written with 3 decimals"
mutation src/BearingSettings.cpp 's/Fixed(1, 9)/Fixed(1, 8)/' \
    "bearing frequency written with 8 decimals"
mutation src/BearingSettings.cpp '/DFBandwidth/s/Fixed(0, 2)/Fixed(0, 1)/' \
    "bearing DFBandwidth written with 1 decimal"
mutation src/BearingSettings.cpp 's/0x18C6455A/0x18C6455B/' "AngleSamples tag changed"
mutation src/BearingSettings.cpp 's/0x1FAAD4BF/0x1FAAD4BE/' "bearing Index tag changed"
mutation src/KVT317SettingsDetail.cpp 's/0xCFF2FA5F/0xCFF2FA5E/' "detail index tag changed"
mutation src/KVT317SettingsDetail.cpp 's/0x375806BF/0x375806BE/' "ScanMemoryID tag changed"
mutation src/KVT317_Settings.cpp 's/0x09751B80/0x09751B81/' "detail list tag changed"
mutation src/BearingSettings.cpp '/"Name", 0x58D44D66/s/\.Attribute()//' \
    "bearing Name an element, not an attribute"
mutation src/KVT317SettingsDetail.cpp '/"ScanMemoryID"/s/\.Required()//' \
    "ScanMemoryID optional"
mutation src/KVT317SettingsDetail.cpp 's/DefaultValue(20)/DefaultValue(21)/' \
    "Threshold default 21"
mutation src/KVT317SettingsDetail.cpp '/BlockAveragingTime/s/DefaultValue(10)/DefaultValue(11)/' \
    "BlockAveragingTime default 11"
mutation src/KVT317SettingsDetail.cpp '/AttenuationHoldTime/s/DefaultValue(100/DefaultValue(101/' \
    "AttenuationHoldTime default 101"
mutation src/KVT317SettingsDetail.cpp 's/DefaultName("CORRELATION")/DefaultName("AUTO")/' \
    "DF_Alt default AUTO"
mutation src/KVT317SettingsDetail.cpp 's/DefaultName("MANUAL")/DefaultName("manual")/' \
    "AttSelect default a name outside its table"
# Enumeration tables.
mutation src/KVT317SettingsDetail.cpp 's/QStringLiteral("LEFT"), QStringLiteral("RIGHT")/QStringLiteral("RIGHT"), QStringLiteral("LEFT")/' \
    "AntennaPol LEFT and RIGHT swapped"
mutation src/KVT317SettingsDetail.cpp 's/6250.0, 8333.0,/6250.0, 8333.3,/' \
    "BandwidthDF 8.333 kHz worth 8333.3 Hz"
mutation src/KVT317SettingsDetail.cpp 's/QStringLiteral("40 MHz")/QStringLiteral("40MHz")/' \
    "Real_Time_Bandwidth name 40MHz"
mutation src/KVT317SettingsDetail.cpp 's/QStringLiteral("SHARP")/QStringLiteral("Sharp")/' \
    "DFPan_Selectivity name Sharp"
mutation src/BearingSettings.cpp 's/QStringLiteral("Gate")/QStringLiteral("GATE")/' \
    "DFMode name GATE"
# Conditions.
mutation src/RecordMembers.cpp 's/return value >= 0 \&\& value < m_type/return value >= 0 \&\& value <= m_type/' \
    "enumeration validity admits one past the table"
mutation src/RecordMembers.cpp 's/if (!hasDefault || v < 0 || v >= row/if (!hasDefault || v < 0 || v > row/' \
    "ResetToDefault takes an enumeration default one past the table"
mutation src/RecordMembers.cpp 's/return value >= 0 \&\& value < values.size() ? values.at(value) : 0.0;/return value > 0 \&\& value < values.size() ? values.at(value) : 0.0;/' \
    "XToValue refuses the first entry"
mutation src/RecordMembers.cpp 's/if (!hasDefault || At<QString>(def, 0).isNull())/if (!hasDefault)/' \
    "ResetToDefault sets a null text default"
mutation src/RecordMembers.cpp 's/if (!At<QString>(\&block, row.valueOffset).isNull())/if (!At<QString>(\&block, row.valueOffset).isEmpty())/' \
    "AnyData counts an empty text as nothing"
mutation src/RecordBinary.cpp 's/value \& 0xFFFFFFFF/value \& 0x7FFFFFFF/' \
    "binary whole numbers cut to 31 bits"
# Report levels and message texts.
mutation src/RecordMembers.cpp 's/Trace(LogLevel::Warning, exception);/Trace(LogLevel::Info, exception);/' \
    "setter reports at INFO with validation off"
mutation src/RecordCheck.cpp 's/TraceOrThrow(LogLevel::Error, exception, !noThrow, true);/TraceOrThrow(LogLevel::Error, exception, noThrow, true);/' \
    "Check raises when told not to"
mutation src/RecordText.cpp 's/: Please set %1 properly\./: Please set %1 correctly./' \
    "check message text"
mutation src/RecordMembers.cpp 's/Tried to append not completely defined/Tried to append incompletely defined/' \
    "append message text"
mutation src/RecordBinary.cpp 's/Length error occurred/Length error/' "length error message text"
mutation src/RecordMembers.cpp 's/enum is not valid (classname=/enum is not valid (class=/' \
    "enumeration message text"
mutation src/RecordCheck.cpp 's/QStringLiteral("Parameters for ")/QStringLiteral("Parameter for ")/' \
    "incomplete child message text"
mutation src/RecordCheck.cpp 's/qCountTrailingZeroBits(bits)\].valueOffset).isNull())/qCountTrailingZeroBits(bits)].valueOffset).isEmpty())/' \
    "Check reports an empty text as unset"
mutation src/RecordCheck.cpp 's/if (value < 0 || value >= row.description.enumeration->names.size())/if (value < 0 || value > row.description.enumeration->names.size())/' \
    "Check lets one past an enumeration's table pass"
mutation src/RecordBinary.cpp 's/    if (remaining == 0)/    if (remaining <= 0)/' \
    "entries that run past their record's length pass"
mutation src/RecordMembers.cpp 's/    if (set != ((b ? b->isSet : 0) \& ~m_type.listFlags))/    if ((set \& ((b ? b->isSet : 0) \& ~m_type.listFlags)) != set)/' \
    "equality ignores members set only on the right"
mutation src/RecordXml.cpp 's/        if (block.isSet \& (quint32(1) << bit))$/        if (true)/' \
    "attributes written whether set or not"
mutation src/RecordBinary.cpp 's/} else if (set || row.description.AlwaysWritten()) {/} else if (row.description.AlwaysWritten()) {/' \
    "optional members never written to the binary form"
# The base library.
mutation base/Converters.cpp 's/"%04d-%02d-%02dT%02d:%02d:%02d,%03dZ"/"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ"/' \
    "date-time text with a point before the milliseconds"
mutation base/Logger.cpp 's/QStringLiteral("WARNING")/QStringLiteral("WARN")/' \
    "log level name WARN"
mutation base/IRGObject.cpp 's/inflationLimit{qint64(256)/inflationLimit{qint64(128)/' \
    "inflation limit 128 MiB"
mutation base/IRGObject.cpp 's/CompressedMarker = 0x4B56545A/CompressedMarker = 0x4B56545B/' \
    "compressed marker KVT["
# The item model and its documents.
mutation model/SettingsDocument.cpp 's/return QStringLiteral("compressed binary");/return QStringLiteral("compressed");/' \
    "form name of compressed documents"
mutation model/SettingsModel.cpp 's/Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable/Qt::ItemIsSelectable | Qt::ItemIsEnabled/' \
    "cells not editable"
mutation model/SettingsModel.cpp 's/QStringLiteral("line %1, column %2: %3")/QStringLiteral("line %1 column %2: %3")/' \
    "where a finding of a cell stands"

if [ "${1:-}" = --list ]; then
    for i in "${!files[@]}"; do
        state=applies
        sed -e "${exprs[$i]}" "${files[$i]}" | cmp -s - "${files[$i]}" && state="NOT APPLIED"
        printf '%2d %-60s %s (%s)\n' "$((i + 1))" "${whats[$i]}" "$state" "${files[$i]}"
    done
    exit 0
fi

# ---- Running ---------------------------------------------------------------------------

# Prints the first failing test of a gtest run's output.
first_failure() {
    grep -m1 -o '\[  FAILED  \] [A-Za-z0-9_./]*' "$1" | sed 's/\[  FAILED  \] //' ||
        echo "(crash: $(tail -n1 "$1"))"
}

# Builds and runs the suite, cheapest first, up to the first failing test: the library's
# tests but the slow memory ones, the model's tests, the tool's and the schema's tests, the
# memory tests. Prints the failing test's name and returns 1; returns 2 when the tree does
# not build.
run_suite() {
    local out=$scratch/out
    local fast=(--gtest_fail_fast --gtest_brief=1)
    build kvt317_tests || return 2
    if ! "$build/tests/kvt317_tests" "${fast[@]}" --gtest_filter='-MemoryBound.*' >"$out" 2>&1; then
        first_failure "$out"
        return 1
    fi
    build kvt317_model_tests || return 2
    if ! "$build/tests/kvt317_model_tests" "${fast[@]}" >"$out" 2>&1; then
        first_failure "$out"
        return 1
    fi
    build kvt317 schema_documents locked_edit || return 2
    # Tool.install needs every target built and installed; the others run the tool as built.
    if ! (cd "$build" && ctest -R '^(Tool\.|Schema\.)' -E '^Tool\.install$' --stop-on-failure) \
        >"$out" 2>&1; then
        grep -m1 -oE '[0-9]+ - [A-Za-z.]+ \(Failed' "$out" | sed 's/^[0-9]* - //; s/ (Failed//' ||
            echo "(ctest)"
        return 1
    fi
    if ! "$build/tests/kvt317_tests" "${fast[@]}" --gtest_filter='MemoryBound.*' >"$out" 2>&1; then
        first_failure "$out"
        return 1
    fi
    return 0
}

build() {
    cmake --build "$build" -j"$jobs" --target "$@" >"$scratch/build.log" 2>&1
}

# The scratch copy of the working tree. Only files that differ are copied, so that the build
# directory stays incremental between runs.
rm -rf "$scratch/incoming"
mkdir -p "$tree" "$scratch/incoming"
git ls-files -z --cached --others --exclude-standard |
    while IFS= read -r -d '' f; do [ -e "$f" ] && printf '%s\0' "$f"; done |
    tar --null -T - -cf - | tar -xf - -C "$scratch/incoming"
(cd "$scratch/incoming" && find . -type f -print0) | while IFS= read -r -d '' f; do
    if ! cmp -s "$scratch/incoming/$f" "$tree/$f"; then
        mkdir -p "$(dirname "$tree/$f")"
        cp "$scratch/incoming/$f" "$tree/$f"
    fi
done
cmake -S "$tree" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVT317_BUILD_BENCHMARKS=OFF \
    >"$scratch/configure.log" 2>&1
echo "building and testing the unchanged tree in $build"
if failed=$(run_suite); then
    echo "the unchanged tree passes"
else
    echo "the unchanged tree fails: ${failed:-does not build, see $scratch/build.log}"
    exit 2
fi

selected=("$@")
if [ ${#selected[@]} -eq 0 ]; then
    for i in "${!files[@]}"; do selected+=("$((i + 1))"); done
fi

survived=0
broken=0
for n in "${selected[@]}"; do
    i=$((n - 1))
    file=${files[$i]}
    path=$tree/$file
    cp "$path" "$scratch/original"
    sed -i -e "${exprs[$i]}" "$path"
    label=$(printf '%2d %-60s' "$n" "${whats[$i]}")
    if cmp -s "$path" "$scratch/original"; then
        echo "$label NOT APPLIED (the text is not in $file)"
        broken=$((broken + 1))
    else
        failed=$(run_suite) && status=0 || status=$?
        case $status in
        0)
            echo "$label SURVIVED"
            survived=$((survived + 1))
            ;;
        1) echo "$label caught by $failed" ;;
        *)
            echo "$label DOES NOT BUILD ($scratch/build.log)"
            broken=$((broken + 1))
            ;;
        esac
    fi
    cp "$scratch/original" "$path"
done
# Leave the build matching the unchanged tree for the next run.
build kvt317_tests kvt317_model_tests kvt317 schema_documents locked_edit || true

echo "${#selected[@]} mutations: $survived survived, $broken not applied or not built"
[ "$survived" -eq 0 ] && [ "$broken" -eq 0 ]
