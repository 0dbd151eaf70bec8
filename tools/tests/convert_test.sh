#!/usr/bin/env bash
# kvt317 convert: every form to every form, byte for byte where the input is the
# library's own form; a refusal with located reasons when anything would change; JSON.
#   convert_test.sh KVT317 EXAMPLES_DIR [sanitized]
source "$(dirname "$0")/lib.sh"

# ---- the library's forms, byte for byte
run "xml to binary" 0 kvt317 convert examples/settings.xml s.bin
same_file "xml to binary bytes" s.bin examples/settings.bin
run "binary to xml" 0 kvt317 convert examples/settings.bin s.xml
same_file "binary to xml bytes" s.xml examples/settings.xml
run "xml to compressed" 0 kvt317 convert examples/bearing-settings.xml b.out --to compressed --level 9
run "compressed to standard output" 0 kvt317 convert b.out - --to xml
same_file "compressed back" out examples/bearing-settings.xml
run "compressed example" 0 kvt317 convert examples/settings.binz s2.xml
same_file "compressed example bytes" s2.xml examples/settings.xml
run "standard input" 0 kvt317 convert - s3.bin <examples/settings.xml
same_file "standard input bytes" s3.bin examples/settings.bin

# ---- the JSON form: members by name in the order XML carries them, only the set ones;
# numbers as the library's number text; enumerations by name; the list as an array
run "json form written" 0 kvt317 convert examples/bearing-settings.bin b.json
same b.json <<'JSON'
{
  "BearingSettings": {
    "Name": "VHF airband sector north",
    "Index": 1,
    "Frequency": 121500000.000000000,
    "AveragingTime": 500,
    "DFBandwidth": 12500.00,
    "DFMode": "Gate",
    "AngleSamples": 360,
    "LevelThreshold": -95,
    "QualityThreshold": 60,
    "ElevationThreshold": 45,
    "SlidingWindowTime": 2000,
    "BearingVtPath": "/var/lib/kvt317/results/bearing.vt",
    "BearingVtPathSR": "/var/lib/kvt317/results/bearing-superresolution.vt",
    "EigenValueVtPath": "/var/lib/kvt317/results/eigenvalues.vt",
    "SignalEstimationQualityVtPath": "/var/lib/kvt317/results/signal-quality.vt"
  }
}
JSON
run "settings json" 0 kvt317 convert examples/settings.xml s.json
head -n 26 s.json >first
same first <<'JSON'
{
  "KVT317_Settings": {
    "KVT317SettingsDetail": [
      {
        "Name": "VHF airband",
        "index": 1,
        "AntennaPol": "VERT",
        "AntPreAmp": "ON",
        "AverageMode": "NORM",
        "BandwidthDF": "25.0 kHz",
        "BlockAveragingTime": 100,
        "DF_Alt": "CORRELATION",
        "FrequencyRange": {
          "StartFrequency": 118000000.00,
          "StopFrequency": 137000000.00
        },
        "Real_Time_Bandwidth": "20 MHz",
        "ScanMemoryID": 10,
        "DFPan_Selectivity": "NARROW",
        "Threshold": 10,
        "StopTime": "2026-11-30T18:00:00,000Z",
        "AttSelect": "AUTO",
        "AttenuationHoldValue": 12.50,
        "AttenuationHoldTime": 250.00
      },
      {
JSON

# XML -> JSON -> XML and binary -> JSON -> binary reproduce the input byte for byte, for
# the examples and for documents of every record type with texts XML escapes, empty and
# tab-holding names, negative numbers, a list without items, a lone required member.
run "make start" 0 kvt317 new -o start.xml
run "make names" 0 kvt317 set start.xml 'KVT317SettingsDetail[1].Name' 'Zürich & <Süd> "1"'
run "make negative" 0 kvt317 add start.xml Name '' FrequencyRange.StartFrequency -5.25 Threshold -3
run "make tab" 0 kvt317 add start.xml Name $'tab\there'
run "make bearing" 0 kvt317 new --bearing -o bearing.xml
cp bearing.xml lean.xml
run "make lean" 0 kvt317 unset lean.xml Name Index DFMode AveragingTime
run "make detail" 0 kvt317 get start.xml 'KVT317SettingsDetail[Name=Zürich & <Süd> "1"]'
{ printf '{"KVT317SettingsDetail": '; cat out; printf '}\n'; } >detail.json
run "make detail document" 0 kvt317 convert detail.json detail.xml
printf '{"FrequencyRange": {"StartFrequency": 1, "StopFrequency": 2.5}}\n' >range.json
run "make range document" 0 kvt317 convert range.json range.xml
run "make empty" 0 kvt317 new -o empty.xml
run "make empty list" 0 kvt317 remove --force empty.xml 'KVT317SettingsDetail[1]'
same empty.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<KVT317_Settings/>
XML
run "make nan" 0 kvt317 new -o nan.xml
run "make nan value" 0 kvt317 set nan.xml 'KVT317SettingsDetail[1].FrequencyRange.StartFrequency' nan \
    'KVT317SettingsDetail[1].FrequencyRange.StopFrequency' -inf
run "nan in json" 0 kvt317 get nan.xml 'KVT317SettingsDetail[1].FrequencyRange'
out <<'JSON'
{
  "StartFrequency": "nan",
  "StopFrequency": "-inf"
}
JSON
for document in examples/settings.xml examples/bearing-settings.xml start.xml bearing.xml \
    lean.xml detail.xml range.xml empty.xml nan.xml; do
    base=${document%.xml}
    run "$document to json" 0 kvt317 convert "$document" "$base.x.json"
    run "$document from json" 0 kvt317 convert "$base.x.json" "$base.x.xml"
    same_file "$document xml round trip" "$document" "$base.x.xml"
    run "$document to binary" 0 kvt317 convert "$document" "$base.bin"
    run "$document binary to json" 0 kvt317 convert "$base.bin" "$base.b.json"
    run "$document json to binary" 0 kvt317 convert "$base.b.json" "$base.b.bin"
    same_file "$document binary round trip" "$base.bin" "$base.b.bin"
done
run "nan equals itself" 0 kvt317 diff nan.xml nan.b.bin
out <<<"equal"
run "compressed round trip" 0 kvt317 convert examples/settings.binz s.z.json
run "compressed from json" 0 kvt317 convert s.z.json s.z.binz
run "compressed content" 0 kvt317 diff s.z.binz examples/settings.binz
out <<<"equal"

# ---- nothing changes silently: a refusal with the located reasons, exit 1
cat >faults.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<BearingSettings Name="North">
  <Frequency>121500000.0000000004</Frequency>
  <DFMode>gate</DFMode>
  <AveragingTme>500</AveragingTme>
</BearingSettings>
XML
printf 'precious\n' >keep.bin
run "refused" 1 kvt317 convert faults.xml keep.bin
err <<'TEXT'
faults.xml:3:3: warning: Frequency: '121500000.0000000004' keeps 9 decimals (written as 121500000.000000000)
faults.xml:4:3: error: DFMode: unknown name 'gate' (read as invalid); allowed: Cont, Norm, Gate
faults.xml:4:3: warning: enum is not valid (classname=BearingSettings,membername=m_dFMode)
faults.xml:4:3: error: BearingSettings: Please set DFMode properly.
faults.xml:5:3: error: unknown element 'AveragingTme' (ignored); did you mean 'AveragingTime'?
kvt317: keep.bin not written: writing would change what the input holds (3 findings); --force writes it anyway
TEXT
same keep.bin <<<"precious"
run "forced" 0 kvt317 convert --force faults.xml keep.bin
tail -n 1 err >last
same last <<<"kvt317: keep.bin written as --force asks, with the changes listed"
run "forced content" 0 kvt317 convert keep.bin - --to json
out <<'JSON'
{
  "BearingSettings": {
    "Name": "North",
    "Frequency": 121500000.000000000,
    "DFMode": ""
  }
}
JSON

# Comments and processing instructions are not settings: no written form keeps them. The
# conversion goes ahead, and says so.
cat >commented.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<!-- tower site, checked 2026-11 -->
<BearingSettings Name="North">
  <?editor fold?>
  <Frequency>121500000.000000000</Frequency> <!-- airband -->
</BearingSettings>
XML
run "comments dropped" 0 kvt317 convert commented.xml commented.bin
err <<'TEXT'
commented.xml:2:1: note: comment not written: a written document holds the settings only
commented.xml:4:3: note: processing instruction 'editor' not written: a written document holds the settings only
commented.xml:5:46: note: comment not written: a written document holds the settings only
TEXT
run "comments are no fault" 0 kvt317 check commented.xml
out <<<"checked 1 file, 0 with faults"

# A required member the input lacks would be written with its default.
sed 's|    <Threshold>15</Threshold>||' examples/settings.xml >incomplete.xml
run "filled in" 1 kvt317 convert incomplete.xml incomplete.bin
err <<'TEXT'
incomplete.xml:23:3: warning: KVT317SettingsDetail[2] ("Marine VHF"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
incomplete.xml:23:3: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set Threshold properly.
incomplete.xml:23:3: error: KVT317SettingsDetail[2].Threshold would change on writing: (unset) -> 20
kvt317: incomplete.bin not written: writing would change what the input holds (1 finding); --force writes it anyway
TEXT
[ -e incomplete.bin ] && fail "incomplete.bin was written" || passes=$((passes + 1))

# A text XML cannot carry: never written as XML, not even forced; other forms carry it.
{ text 'Tower\x01' | entry 0x58D44D66; text '100000000.000000000' | entry 0xA97DB5BE; } |
    entry 0x856C9896 >control.bin
for force in "" --force; do
    run "control character to xml $force" 1 kvt317 convert $force control.bin control.xml
    err <<'TEXT'
control.bin:1:9: error: Name: holds U+0001, which XML cannot carry
control.bin:1:9: error: Name would change on writing: Tower\u0001 -> Tower
kvt317: control.xml not written: XML cannot carry a text of the document
TEXT
done
[ -e control.xml ] && fail "control.xml was written" || passes=$((passes + 1))
run "control character to json" 0 kvt317 convert control.bin control.json
same control.json <<'JSON'
{
  "BearingSettings": {
    "Name": "Tower\u0001",
    "Frequency": 100000000.000000000
  }
}
JSON
run "control character back to binary" 0 kvt317 convert control.json control2.bin
same_file "control character round trip" control.bin control2.bin

# JSON input that does not hold what it says is refused too.
printf '{"BearingSettings": {"Frequency": 1, "Mode": "Gate"}}\n' >unknown.json
run "json refused" 1 kvt317 convert unknown.json unknown.xml
err <<'TEXT'
unknown.json:1:38: error: unknown member 'Mode' (ignored)
kvt317: unknown.xml not written: writing would change what the input holds (1 finding); --force writes it anyway
TEXT

# The forms by their file endings too: bin is binary, binz compressed.
run "to bin" 0 kvt317 convert examples/bearing-settings.xml by-ending.bin --to=bin
same_file "bin is binary" by-ending.bin examples/bearing-settings.bin
run "to binz" 0 kvt317 convert examples/settings.xml by-ending.binz --to binz
head -c 4 by-ending.binz >marker
printf 'KVTZ' | same marker

finish
