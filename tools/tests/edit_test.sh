#!/usr/bin/env bash
# kvt317 get, set, unset, add and remove: the path syntax, values checked against the
# member's kind, the file's own form kept, and the same refusal as convert.
#   edit_test.sh KVT317 EXAMPLES_DIR [sanitized]
source "$(dirname "$0")/lib.sh"

# ---- get: positions from 1, an item by its Name, the members of a BearingSettings
run "get by position" 0 kvt317 get examples/settings.xml 'KVT317SettingsDetail[2].FrequencyRange.StartFrequency'
out <<<"156000000.00"
run "get by name" 0 kvt317 get examples/settings.bin 'KVT317SettingsDetail[Name=Marine VHF].Threshold'
out <<<"15"
run "get bearing" 0 kvt317 get examples/bearing-settings.xml DFMode
out <<<"Gate"
run "get record" 0 kvt317 get examples/settings.binz 'KVT317SettingsDetail[2].FrequencyRange'
out <<'TEXT'
{
  "StartFrequency": 156000000.00,
  "StopFrequency": 162025000.00
}
TEXT
run "get list" 0 kvt317 get examples/settings.xml KVT317SettingsDetail
grep -c '"Name"' out >count
same count <<<"3"

# Paths that select nothing: exit 2 with the reason.
for case in \
    'KVT317SettingsDetail[5].Threshold|KVT317SettingsDetail[5]: the list holds 3 items' \
    'KVT317SettingsDetail[Name=Nope].Threshold|KVT317SettingsDetail[Name=Nope]: no item has that Name' \
    'KVT317SettingsDetail.Threshold|KVT317SettingsDetail is a list: select an item with [N] or [Name=...]' \
    'KVT317SettingsDetail[1].Thresold|KVT317SettingsDetail[1] has no member '"'"'Thresold'"'"'; did you mean '"'"'Threshold'"'"'?' \
    'KVT317SettingsDetail[0]|'"'"'KVT317SettingsDetail[0]'"'"': [0] is neither a position (from 1), * nor Name=...' \
    'KVT317SettingsDetail[2].Threshold.Value|KVT317SettingsDetail[2].Threshold is a whole number; nothing follows it in a path' \
    'KVT317SettingsDetail[1|'"'"'KVT317SettingsDetail[1'"'"': the '"'"'['"'"' at column 21 is not closed' \
    'KVT317SettingsDetail[1]/Threshold|'"'"'KVT317SettingsDetail[1]/Threshold'"'"': '"'"'/'"'"' (column 24) cannot follow '"'"']'"'"'; members are separated by '"'"'.'"'"'' \
    'KVT317SettingsDetail[1].Threshold/x|'"'"'KVT317SettingsDetail[1].Threshold/x'"'"': '"'"'/'"'"' (column 34) cannot follow Threshold; members are separated by '"'"'.'"'"'' \
    'KVT317SettingsDetail[Name="Marine VHF|'"'"'KVT317SettingsDetail[Name="Marine VHF'"'"': the quote of Name= at column 27 is not closed' \
    'Threshold|KVT317_Settings has no member '"'"'Threshold'"'"''; do
    run "path ${case%%|*}" 2 kvt317 get examples/settings.xml "${case%%|*}"
    err <<<"kvt317: examples/settings.xml: ${case#*|}"
done
cp examples/settings.xml twins.xml
run "make twins" 0 kvt317 set twins.xml 'KVT317SettingsDetail[3].Name' 'Marine VHF'
run "ambiguous name" 2 kvt317 get twins.xml 'KVT317SettingsDetail[Name=Marine VHF].Threshold'
err <<<"kvt317: twins.xml: KVT317SettingsDetail[Name=Marine VHF]: items 2 and 3 have that Name; select one by position"
run "name with dots and brackets" 0 kvt317 set twins.xml 'KVT317SettingsDetail[1].Name' 'Band [1.2]'
run "get name with dots and brackets" 0 kvt317 get twins.xml 'KVT317SettingsDetail[Name=Band [1.2]].index'
out <<<"1"

# ---- set: in place, in the file's form, each value checked against the member's kind
cp examples/settings.xml s.xml
run "set" 0 kvt317 set s.xml 'KVT317SettingsDetail[1].FrequencyRange.StartFrequency' 118.5e6 \
    'KVT317SettingsDetail[Name=Marine VHF].AntennaPol' LEFT
diff examples/settings.xml s.xml >changes
same changes <<'TEXT'
11c11
<       <StartFrequency>118000000.00</StartFrequency>
---
>       <StartFrequency>118500000.00</StartFrequency>
24c24
<     <AntennaPol>HOR</AntennaPol>
---
>     <AntennaPol>LEFT</AntennaPol>
TEXT
for case in \
    'AntennaPol|vert|AntennaPol: unknown name '"'"'vert'"'"'; allowed: VERT, HOR, LEFT, RIGHT' \
    'Threshold|1.5|Threshold: '"'"'1.5'"'"' is not a whole number of 32 bits' \
    'Threshold|4294967296|Threshold: '"'"'4294967296'"'"' is not a whole number of 32 bits' \
    'AttenuationHoldValue|1e39|AttenuationHoldValue: '"'"'1e39'"'"' is not a number the member can hold' \
    'StopTime|2026-02-30T00:00:00Z|StopTime: '"'"'2026-02-30T00:00:00Z'"'"' is not a date-time of the form yyyy-MM-ddThh:mm:ss,zzzZ' \
    'FrequencyRange|1|FrequencyRange is a record; set its members'; do
    IFS='|' read -r member value message <<<"$case"
    run "set $member $value" 2 kvt317 set s.xml "KVT317SettingsDetail[1].$member" "$value"
    err <<<"kvt317: s.xml: KVT317SettingsDetail[1]: $message"
done
run "set text XML cannot carry" 2 kvt317 set s.xml 'KVT317SettingsDetail[1].Name' $'Tower\x01'
err <<<"kvt317: s.xml: KVT317SettingsDetail[1]: Name: the value holds U+0001, which XML cannot carry"
run "set list item" 2 kvt317 set s.xml 'KVT317SettingsDetail[1]' x
err <<<"kvt317: s.xml: KVT317SettingsDetail[1] is a list item; set its members"
run "unchanged after refusals" 1 kvt317 diff s.xml examples/settings.xml
out <<'TEXT'
KVT317SettingsDetail[1].FrequencyRange.StartFrequency: 118500000.00 -> 118000000.00
KVT317SettingsDetail[2].AntennaPol: LEFT -> HOR
TEXT
run "set rounded" 1 kvt317 set s.xml 'KVT317SettingsDetail[1].FrequencyRange.StopFrequency' 1620005.002
err <<'TEXT'
s.xml: warning: KVT317SettingsDetail[1].FrequencyRange: StopFrequency: '1620005.002' keeps 2 decimals (written as 1620005.00)
s.xml:10:5: error: KVT317SettingsDetail[1].FrequencyRange would change on writing: it holds numbers with more decimals than are written
kvt317: s.xml not written: writing would change what the input holds (2 findings); --force writes it anyway
TEXT
run "set rounded forced" 0 kvt317 set --force s.xml 'KVT317SettingsDetail[1].FrequencyRange.StopFrequency' 1620005.002
run "set rounded value" 0 kvt317 get s.xml 'KVT317SettingsDetail[1].FrequencyRange.StopFrequency'
out <<<"1620005.00"

# The file keeps its form.
cp examples/settings.binz z.binz
run "set compressed" 0 kvt317 set z.binz 'KVT317SettingsDetail[3].Threshold' 25
run "still compressed" 0 kvt317 show z.binz
head -n 1 out >first
same first <<<"z.binz: KVT317_Settings, compressed binary, 3 items"
run "set compressed value" 0 kvt317 get z.binz 'KVT317SettingsDetail[3].Threshold'
out <<<"25"
run "make json" 0 kvt317 convert examples/bearing-settings.xml b.json
run "set json" 0 kvt317 set b.json DFMode Cont SlidingWindowTime -5
run "still json" 1 kvt317 diff b.json examples/bearing-settings.bin
out <<'TEXT'
DFMode: Cont -> Gate
SlidingWindowTime: -5 -> 2000
TEXT
head -n 2 b.json >first
same first <<'TEXT'
{
  "BearingSettings": {
TEXT
run "set as a filter" 0 kvt317 set - DFMode Cont <examples/bearing-settings.xml
sed -n 6p out >line
same line <<<"  <DFMode>Cont</DFMode>"
# A UTF-16 file stays UTF-16, in its byte order and with its byte-order mark or without.
sed 's/encoding="UTF-8"/encoding="UTF-16"/' examples/bearing-settings.xml >b16.txt
sed 's|<DFMode>Gate</DFMode>|<DFMode>Cont</DFMode>|' b16.txt >b16-edited.txt
for order in LE BE; do
    for mark in with without; do
        printf '' >b16.xml
        printf '' >b16-expected.xml
        if [ $mark = with ]; then
            [ $order = LE ] && printf '\xff\xfe' | tee b16.xml >b16-expected.xml
            [ $order = BE ] && printf '\xfe\xff' | tee b16.xml >b16-expected.xml
        fi
        iconv -f UTF-8 -t UTF-16$order b16.txt >>b16.xml
        iconv -f UTF-8 -t UTF-16$order b16-edited.txt >>b16-expected.xml
        run "set UTF-16$order $mark mark" 0 kvt317 set b16.xml DFMode Cont
        same_file "UTF-16$order $mark mark kept" b16.xml b16-expected.xml
    done
done

# A document with a fault: set refuses unless the command itself mends it.
sed 's|<Threshold>15</Threshold>|<Threshold>fifteen</Threshold>|' examples/settings.xml >t.xml
run "set elsewhere" 1 kvt317 set t.xml 'KVT317SettingsDetail[1].Threshold' 11
err <<'TEXT'
t.xml:37:5: error: KVT317SettingsDetail[2] ("Marine VHF"): Threshold: 'fifteen' is not a whole number (read as 0)
kvt317: t.xml not written: writing would change what the input holds (1 finding); --force writes it anyway
TEXT
run "set mends" 0 kvt317 set t.xml 'KVT317SettingsDetail[2].Threshold' 15
same_file "mended" t.xml examples/settings.xml

# ---- unset
cp examples/bearing-settings.bin b.bin
run "unset optional" 0 kvt317 unset b.bin BearingVtPathSR Index
run "unset optional read" 1 kvt317 get b.bin Index
err <<<"kvt317: b.bin: Index is not set"
run "unset required" 2 kvt317 unset b.bin Frequency
err <<<"kvt317: b.bin: Frequency is always written and has no default; it cannot be unset"
cp examples/settings.xml u.xml
run "unset to default" 0 kvt317 unset u.xml 'KVT317SettingsDetail[1].Threshold' 'KVT317SettingsDetail[1].Name'
err <<<"kvt317: u.xml: KVT317SettingsDetail[1].Threshold is always written; reset to its default 20"
run "unset to default read" 0 kvt317 get u.xml 'KVT317SettingsDetail[1].Threshold'
out <<<"20"
run "unset list" 2 kvt317 unset u.xml 'KVT317SettingsDetail[2]'
err <<<"kvt317: u.xml: KVT317SettingsDetail[2] is a list; remove takes items out"

# ---- add and remove: a scan list built from a script
run "new list" 0 kvt317 new -o scan.xml
run "add" 0 kvt317 add scan.xml Name 'Aviation emergency' FrequencyRange.StartFrequency 121.45e6 \
    FrequencyRange.StopFrequency 121.55e6 BandwidthDF '8.333 kHz'
run "add another" 0 kvt317 add scan.xml Name 'Marine distress' FrequencyRange.StartFrequency 156.8e6 \
    FrequencyRange.StopFrequency 156.8e6
run "remove" 0 kvt317 remove scan.xml 'KVT317SettingsDetail[Name=Setting 1]'
run "scan list" 0 kvt317 show scan.xml
grep -E '^KVT|Frequency|BandwidthDF|index' out >list
same list <<'TEXT'
KVT317SettingsDetail[1] ("Aviation emergency")
  index                 2
  BandwidthDF           8.333 kHz
  FrequencyRange
    StartFrequency      121.45 MHz
    StopFrequency       121.55 MHz
KVT317SettingsDetail[2] ("Marine distress")
  index                 3
  BandwidthDF           1.00 kHz
  FrequencyRange
    StartFrequency      156.8 MHz
    StopFrequency       156.8 MHz
TEXT
run "scan list checks clean" 0 kvt317 check scan.xml
run "add to bearing" 2 kvt317 add examples/bearing-settings.xml
err <<<"kvt317: examples/bearing-settings.xml: a BearingSettings document holds no list; add works on KVT317_Settings documents"
run "add bad value" 2 kvt317 add scan.xml Threshold high
err <<<"kvt317: scan.xml: KVT317SettingsDetail[3]: Threshold: 'high' is not a whole number of 32 bits"
# After a removal, the list's size plus one is an index a detail already has: the new detail
# takes the next number no detail uses, as a new row of the item model does.
run "add after a removal" 0 kvt317 add scan.xml
run "the added detail" 0 kvt317 get scan.xml 'KVT317SettingsDetail[3]'
grep -E '"(Name|index)"' out >added
same added <<'TEXT'
  "Name": "Setting 4",
  "index": 4,
TEXT
run "remove the added detail" 0 kvt317 remove scan.xml 'KVT317SettingsDetail[3]'
run "remove member" 2 kvt317 remove scan.xml 'KVT317SettingsDetail[1].Threshold'
err <<<"kvt317: scan.xml: KVT317SettingsDetail[1].Threshold is no list item; select one with [N] or [Name=...]"
run "remove missing" 2 kvt317 remove scan.xml 'KVT317SettingsDetail[3]'
err <<<"kvt317: scan.xml: KVT317SettingsDetail[3]: the list holds 2 items"

# A removed item's faults no longer stop the write.
sed 's|<Threshold>20</Threshold>|<Threshold>twenty</Threshold>|' examples/settings.xml >r.xml
run "remove faulty item" 0 kvt317 remove r.xml 'KVT317SettingsDetail[3]'
run "remove faulty item result" 0 kvt317 check r.xml

# ---- every item at once, quoted names, the last detail
cp examples/settings.xml all.xml
run "get every item" 0 kvt317 get all.xml 'KVT317SettingsDetail[*].Threshold'
out <<'TEXT'
10
15
20
TEXT
run "set every item" 0 kvt317 set all.xml 'KVT317SettingsDetail[*].Threshold' 30
run "every item set" 0 kvt317 get all.xml 'KVT317SettingsDetail[*].Threshold'
out <<'TEXT'
30
30
30
TEXT
run "quoted name" 0 kvt317 get all.xml 'KVT317SettingsDetail[Name="Marine VHF"].Name'
out <<<"Marine VHF"
run "single-quoted name" 0 kvt317 get all.xml "KVT317SettingsDetail[Name='UHF survey'].index"
out <<<"3"
run "[*] of no list" 2 kvt317 get all.xml 'KVT317SettingsDetail[1].FrequencyRange[*].StartFrequency'
err <<<"kvt317: all.xml: 'KVT317SettingsDetail[1].FrequencyRange[*].StartFrequency': [*] follows KVT317SettingsDetail[1].FrequencyRange, which is not a list"
kvt317 new -o last.xml
cp last.xml last.before
run "remove the last detail" 1 kvt317 remove last.xml 'KVT317SettingsDetail[1]'
err <<<"kvt317: last.xml: KVT317SettingsDetail[1] is the last of KVT317SettingsDetail, and a document without any does not check; --force removes it anyway"
same_file "last detail kept" last.xml last.before
run "remove the last detail forced" 0 kvt317 remove --force last.xml 'KVT317SettingsDetail[1]'

# ---- values with the units show prints, converted exactly
cp examples/settings.xml units.xml
cp examples/bearing-settings.xml units-bearing.xml
run "units" 0 kvt317 set units.xml 'KVT317SettingsDetail[1].FrequencyRange.StartFrequency' 121.5MHz \
    'KVT317SettingsDetail[1].FrequencyRange.StopFrequency' '137.0125 MHz' \
    'KVT317SettingsDetail[1].AttenuationHoldTime' 300ms 'KVT317SettingsDetail[1].Threshold' '12 dBµV'
run "units read back" 0 kvt317 get units.xml 'KVT317SettingsDetail[1].FrequencyRange'
out <<'TEXT'
{
  "StartFrequency": 121500000.00,
  "StopFrequency": 137012500.00
}
TEXT
run "more units" 0 kvt317 set units-bearing.xml DFBandwidth '12.5 kHz' Frequency 0.1215GHz \
    LevelThreshold '-90 dBµV' QualityThreshold 70% ElevationThreshold 40°
run "more units read back" 0 kvt317 get units-bearing.xml Frequency
out <<<"121500000.000000000"
run "unit of another member" 2 kvt317 set units.xml 'KVT317SettingsDetail[1].Threshold' 5MHz
err <<<"kvt317: units.xml: KVT317SettingsDetail[1]: Threshold is in dBµV, not 'MHz'"
run "no unit" 2 kvt317 set units.xml 'KVT317SettingsDetail[1].ScanMemoryID' 5Hz
err <<<"kvt317: units.xml: KVT317SettingsDetail[1]: ScanMemoryID takes no unit, not 'Hz'"
run "unknown unit" 2 kvt317 set units-bearing.xml Frequency 121.5mHz
err <<<"kvt317: units-bearing.xml: Frequency is in Hz, kHz, MHz or GHz, not 'mHz'"

# ---- faults: an edit lists those it brings, and counts those that were there already
kvt317 convert examples/settings.xml faults.json
run "a fault brought" 1 kvt317 unset faults.json 'KVT317SettingsDetail[2].AverageMode'
err <<'TEXT'
faults.json: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set AverageMode properly.
kvt317: faults.json written; the edit added 1 fault
TEXT
run "faults brought read back" 1 kvt317 get faults.json 'KVT317SettingsDetail[2].AverageMode'
err <<<"kvt317: faults.json: KVT317SettingsDetail[2].AverageMode is not set"
run "faults there: set" 0 kvt317 set faults.json 'KVT317SettingsDetail[1].Threshold' 5
err <<<'kvt317: faults.json: 2 faults were already there; `kvt317 check faults.json` lists them'
run "faults there: add" 0 kvt317 add faults.json Name 'Added'
err <<<'kvt317: faults.json: 2 faults were already there; `kvt317 check faults.json` lists them'
run "another fault brought" 1 kvt317 unset faults.json 'KVT317SettingsDetail[4].ScanMemoryID'
err <<'TEXT'
faults.json: error: KVT317SettingsDetail[4] ("Added"): KVT317SettingsDetail: Please set ScanMemoryID properly.
kvt317: faults.json: 2 faults were already there; `kvt317 check faults.json` lists them
kvt317: faults.json written; the edit added 1 fault
TEXT
run "faults there: convert in place" 0 kvt317 convert faults.json faults.json
err <<<'kvt317: faults.json: 4 faults were already there; `kvt317 check faults.json` lists them'
# Converted onto another file: listed where that file did not have them yet.
run "faults converted onto a new file" 0 kvt317 convert faults.json copy.json
err <<'TEXT'
faults.json:26:7: warning: KVT317SettingsDetail[2] ("Marine VHF"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
faults.json:26:7: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set AverageMode properly.
faults.json:69:7: warning: KVT317SettingsDetail[4] ("Added"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
faults.json:69:7: error: KVT317SettingsDetail[4] ("Added"): KVT317SettingsDetail: Please set ScanMemoryID properly.
TEXT
run "faults converted onto a file that has them" 0 kvt317 convert faults.json copy.json
err <<<'kvt317: copy.json: 4 faults were already there; `kvt317 check copy.json` lists them'
# Items after a removed one move up; their faults were there all the same.
run "faults there: remove" 0 kvt317 remove faults.json 'KVT317SettingsDetail[1]'
err <<<'kvt317: faults.json: 4 faults were already there; `kvt317 check faults.json` lists them'
run "faults removed" 0 kvt317 remove faults.json 'KVT317SettingsDetail[1]'
err <<<'kvt317: faults.json: 2 faults were already there; `kvt317 check faults.json` lists them'
# The warning the library gave on reading the incomplete item was there; the file written
# no longer gives it.
run "a fault mended" 0 kvt317 set faults.json 'KVT317SettingsDetail[2].ScanMemoryID' 9
err <<<'kvt317: faults.json: 1 fault was already there; `kvt317 check faults.json` lists it'
run "nothing there" 0 kvt317 set faults.json 'KVT317SettingsDetail[2].ScanMemoryID' 10
err </dev/null
run "no faults left" 0 kvt317 check faults.json
out <<<"checked 1 file, 0 with faults"

finish
