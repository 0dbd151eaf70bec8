#!/usr/bin/env bash
# kvt317 check: located diagnostics in input order, the faults the library accepts in
# silence, the library's own reports tied to their records, summaries, --quiet, JSON.
#   check_test.sh KVT317 EXAMPLES_DIR [sanitized]
source "$(dirname "$0")/lib.sh"
sanitized="${3:-}"

run "examples" 0 kvt317 check examples/settings.xml examples/settings.bin \
    examples/settings.binz examples/bearing-settings.xml examples/bearing-settings.bin
out <<<"checked 5 files, 0 with faults"
run "stdin" 0 kvt317 check - <examples/settings.binz
out <<<"checked 1 file, 0 with faults"

# ---- what the library accepts in silence, and its own reports, located in XML
cat >faults.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<KVT317_Settings>
  <KVT317SettingsDetail Name="Airband" Index="1">
    <AntennaPol>vert</AntennaPol>
    <AntPreAmpp>ON</AntPreAmpp>
    <AverageMode>NORM</AverageMode>
    <BandwidthDF>25.0 kHz</BandwidthDF>
    <BlockAveragingTime>100</BlockAveragingTime>
    <DF_Alt>CORRELATION</DF_Alt>
    <FrequencyRange>
      <StartFrequency>118000000.00</StartFrequency>
      <StopFrequency>1620005.0020</StopFrequency>
    </FrequencyRange>
    <Real_Time_Bandwidth>20 MHz</Real_Time_Bandwidth>
    <ScanMemoryID>4294967296</ScanMemoryID>
    <DFPan_Selectivity>NARROW</DFPan_Selectivity>
    <Threshold>ten</Threshold>
    <Threshold>12</Threshold>
    <StopTime>2026-02-30T18:00:00,000Z</StopTime>
    <AttSelect>AUTO</AttSelect>
    <AttenuationHoldValue>12.50</AttenuationHoldValue>
    <AttenuationHoldTime>250.00</AttenuationHoldTime>
  </KVT317SettingsDetail>
</KVT317_Settings>
XML
run "silent faults" 1 kvt317 check faults.xml
out <<'TEXT'
faults.xml:3:3: error: KVT317SettingsDetail[1] ("Airband"): unknown attribute 'Index' (ignored); did you mean 'index'?
faults.xml:3:3: warning: KVT317SettingsDetail[1] ("Airband"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
faults.xml:3:3: error: KVT317SettingsDetail[1] ("Airband"): KVT317SettingsDetail: Please set AntPreAmp properly.
faults.xml:4:5: error: KVT317SettingsDetail[1] ("Airband"): AntennaPol: unknown name 'vert' (read as invalid); allowed: VERT, HOR, LEFT, RIGHT
faults.xml:4:5: warning: KVT317SettingsDetail[1] ("Airband"): enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)
faults.xml:4:5: error: KVT317SettingsDetail[1] ("Airband"): KVT317SettingsDetail: Please set AntennaPol properly.
faults.xml:5:5: error: KVT317SettingsDetail[1] ("Airband"): unknown element 'AntPreAmpp' (ignored); did you mean 'AntPreAmp'?
faults.xml:12:7: warning: KVT317SettingsDetail[1].FrequencyRange ("Airband"): StopFrequency: '1620005.0020' keeps 2 decimals (written as 1620005.00)
faults.xml:12:7: warning: KVT317SettingsDetail[1].FrequencyRange ("Airband"): StartFrequency 118 MHz lies above StopFrequency 1.620005 MHz
faults.xml:15:5: error: KVT317SettingsDetail[1] ("Airband"): ScanMemoryID: '4294967296' does not fit in 32 bits (read as 0)
faults.xml:17:5: error: KVT317SettingsDetail[1] ("Airband"): Threshold: 'ten' is not a whole number (read as 0)
faults.xml:18:5: warning: KVT317SettingsDetail[1] ("Airband"): Threshold given twice (first at 17:5); the later one wins
faults.xml:19:5: error: KVT317SettingsDetail[1] ("Airband"): StopTime: '2026-02-30T18:00:00,000Z' is not a valid date-time (read as empty)
checked 1 file, 1 with faults (8 errors, 5 warnings)
TEXT
run "quiet" 1 kvt317 check --quiet faults.xml examples/settings.xml
out <<<"checked 2 files, 1 with faults (8 errors, 5 warnings)"

# The library's reports belong to the detail they came from, by position and Name, on the
# line of the member they name or of the detail.
sed -e 's|    <Threshold>15</Threshold>||' -e 's|<AverageMode>NORM</AverageMode>|<AverageMode>norm</AverageMode>|' \
    -e 's|<StartFrequency>400000000.00</StartFrequency>||' -e 's|<BandwidthDF>100 kHz</BandwidthDF>|<BandwidthDF></BandwidthDF>|' \
    examples/settings.xml >library.xml
run "library reports" 1 kvt317 check library.xml
out <<'TEXT'
library.xml:6:5: error: KVT317SettingsDetail[1] ("VHF airband"): AverageMode: unknown name 'norm' (read as invalid); allowed: OFF, GATE, NORM
library.xml:6:5: warning: KVT317SettingsDetail[1] ("VHF airband"): enum is not valid (classname=KVT317SettingsDetail,membername=m_averageMode)
library.xml:6:5: error: KVT317SettingsDetail[1] ("VHF airband"): KVT317SettingsDetail: Please set AverageMode properly.
library.xml:23:3: warning: KVT317SettingsDetail[2] ("Marine VHF"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
library.xml:23:3: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set Threshold properly.
library.xml:43:3: warning: KVT317SettingsDetail[3] ("UHF survey"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
library.xml:47:5: warning: KVT317SettingsDetail[3] ("UHF survey"): enum is not valid (classname=KVT317SettingsDetail,membername=m_bandwidthDF)
library.xml:47:5: error: KVT317SettingsDetail[3] ("UHF survey"): KVT317SettingsDetail: Please set BandwidthDF properly.
library.xml:50:5: error: KVT317SettingsDetail[3].FrequencyRange ("UHF survey"): FrequencyRange: Please set StartFrequency properly.
checked 1 file, 1 with faults (5 errors, 4 warnings)
TEXT

# ---- likely slips the library accepts: start above stop, a Name or an index twice
sed -e 's|<StartFrequency>400000000.00<|<StartFrequency>500000000.00<|' \
    -e 's|Name="UHF survey" index="3"|Name="VHF airband" index="2"|' examples/settings.xml >lint.xml
run "lint" 1 kvt317 check lint.xml
out <<'TEXT'
lint.xml:43:3: warning: KVT317SettingsDetail[3] ("VHF airband"): Name 'VHF airband' is also the Name of KVT317SettingsDetail[1]; [Name=...] paths cannot tell them apart
lint.xml:43:3: warning: KVT317SettingsDetail[3] ("VHF airband"): index 2 is also the index of KVT317SettingsDetail[2]
lint.xml:52:7: warning: KVT317SettingsDetail[3].FrequencyRange ("VHF airband"): StartFrequency 500 MHz lies above StopFrequency 470 MHz
checked 1 file, 1 with faults (0 errors, 3 warnings)
TEXT
run "no lint" 0 kvt317 check --no-lint lint.xml
out <<<"checked 1 file, 0 with faults"

# ---- documents the library refuses
printf '<KVT317_Settings>\n<KVT317SettingsDetail>\n</KVT317_Settings>\n' >malformed.xml
run "malformed" 1 kvt317 check malformed.xml
out <<'TEXT'
malformed.xml:3:19: error: Opening and ending tag mismatch.
checked 1 file, 1 with faults (1 error, 0 warnings)
TEXT
printf '<?xml version="1.0"?>\n<!DOCTYPE x [<!ENTITY a "b">]>\n<KVT317_Settings/>\n' >dtd.xml
printf '<Settings/>\n' >root.xml
run "dtd and root" 1 kvt317 check dtd.xml root.xml
out <<'TEXT'
dtd.xml:2:1: error: Document type declarations are not accepted
root.xml:1:1: error: Root element is 'Settings', expected 'KVT317_Settings'
checked 2 files, 2 with faults (2 errors, 0 warnings)
TEXT
printf '<KVT317_Settings>\xff</KVT317_Settings>\n' >latin.xml
run "not UTF-8" 1 kvt317 check latin.xml
out <<'TEXT'
latin.xml:1:1: error: KVT317_Settings: Please set KVT317SettingsDetail properly.
latin.xml:1:18: error: the text is not valid UTF-8 (byte 0xFF; read as U+FFFD)
latin.xml:1:18: warning: text '�' outside any member (ignored)
checked 1 file, 1 with faults (2 errors, 1 warning)
TEXT

# Input that is none of the forms, by its first bytes.
printf '\x89PNG\r\n\x1a\n\0\0\0\rIHDR' >picture.png
run "not a settings document" 1 kvt317 check picture.png
out <<'TEXT'
picture.png:1:1: error: not a settings document: its first bytes 0x89504E47 are neither '<' (XML), '{' (JSON), 'KVTZ' (compressed binary) nor the tag of a record type (binary: KVT317_Settings 0x5DF5F465, KVT317SettingsDetail 0xF9EA2157, BearingSettings 0x856C9896, FrequencyRange 0x0E9DCC54)
checked 1 file, 1 with faults (1 error, 0 warnings)
TEXT

# ---- binary input, located by byte offset: FILE:1:OFFSET+1
head -c 300 examples/settings.bin >truncated.bin
printf '\x0e\x9d\xcc\x54\x00\x00\x00\x00' >range.bin
printf '\x12\x34\x56\x78\x00\x00\x00\x00' >foreign.bin
{ : | entry 0x01020304; be32 0 | entry 0x09751B80; } | entry 0x5DF5F465 >unknown-tag.bin
run "binary faults" 1 kvt317 check truncated.bin range.bin foreign.bin unknown-tag.bin
out <<'TEXT'
truncated.bin:1:301: error: KVT317SettingsDetail[1]: KVT317SettingsDetail::SetBinary(...): Length error occurred during processing of binary representation
range.bin:1:1: error: FrequencyRange: Please set StartFrequency properly.
range.bin:1:1: error: FrequencyRange: Please set StopFrequency properly.
foreign.bin:1:1: error: not a settings document: its first bytes 0x12345678 are neither '<' (XML), '{' (JSON), 'KVTZ' (compressed binary) nor the tag of a record type (binary: KVT317_Settings 0x5DF5F465, KVT317SettingsDetail 0xF9EA2157, BearingSettings 0x856C9896, FrequencyRange 0x0E9DCC54)
unknown-tag.bin:1:9: error: unknown entry 0x01020304 of 0 bytes (ignored)
unknown-tag.bin:1:17: error: KVT317_Settings: Please set KVT317SettingsDetail properly.
checked 4 files, 4 with faults (6 errors, 0 warnings)
TEXT

# What the library changes on reading binary input: invalid UTF-8, whole numbers beyond
# 32 bits; and a text XML cannot carry, more decimals than kept, unknown names and tags,
# a member given twice.
{
    text 'North\x01' | entry 0x58D44D66
    be64 4294967297 | entry 0x1FAAD4BF
    text '100000000.0000000001' | entry 0xA97DB5BE
    text 'gate' | entry 0x23991AF4
    text '/var/\xff.vt' | entry 0x322B5285
    text '/a.vt' | entry 0x322B5285
    printf 'xyz' | entry 0x01020304
} | entry 0x856C9896 >hostile.bin
run "binary silent faults" 1 kvt317 check hostile.bin
out <<'TEXT'
hostile.bin:1:9: error: Name: holds U+0001, which XML cannot carry
hostile.bin:1:27: error: Index: 4294967297 does not fit in 32 bits (read as 1)
hostile.bin:1:43: warning: Frequency: '100000000.0000000001' keeps 9 decimals (written as 100000000.000000000)
hostile.bin:1:75: error: DFMode: unknown name 'gate' (read as invalid); allowed: Cont, Norm, Gate
hostile.bin:1:75: warning: enum is not valid (classname=BearingSettings,membername=m_dFMode)
hostile.bin:1:75: error: BearingSettings: Please set DFMode properly.
hostile.bin:1:108: error: BearingVtPath: the text is not valid UTF-8 (byte 0xFF; read as U+FFFD)
hostile.bin:1:112: warning: BearingVtPath given twice (first at offset 90); the later one wins
hostile.bin:1:129: error: unknown entry 0x01020304 of 3 bytes (ignored)
checked 1 file, 1 with faults (6 errors, 3 warnings)
TEXT

# Compressed input: offsets in the inflated frame, as dump lists them.
run "compress the hostile document" 0 kvt317 convert --force hostile.bin hostile.binz
run "compressed positions" 1 kvt317 check hostile.binz
out <<'TEXT'
hostile.binz:1:9: error: Name: holds U+0001, which XML cannot carry
hostile.binz:1:74: warning: enum is not valid (classname=BearingSettings,membername=m_dFMode)
hostile.binz:1:74: error: BearingSettings: Please set DFMode properly.
checked 1 file, 1 with faults (2 errors, 1 warning)
TEXT

# ---- repeated identical diagnostics are listed up to 20, then counted
{
    echo '<KVT317_Settings>'
    for i in $(seq 25); do echo '  <Scan/>'; done
    echo '</KVT317_Settings>'
} >repeated.xml
run "repeated" 1 kvt317 check repeated.xml
out <<'TEXT'
repeated.xml:1:1: error: KVT317_Settings: Please set KVT317SettingsDetail properly.
repeated.xml:2:3: error: unknown element 'Scan' (ignored)
repeated.xml:3:3: error: unknown element 'Scan' (ignored)
repeated.xml:4:3: error: unknown element 'Scan' (ignored)
repeated.xml:5:3: error: unknown element 'Scan' (ignored)
repeated.xml:6:3: error: unknown element 'Scan' (ignored)
repeated.xml:7:3: error: unknown element 'Scan' (ignored)
repeated.xml:8:3: error: unknown element 'Scan' (ignored)
repeated.xml:9:3: error: unknown element 'Scan' (ignored)
repeated.xml:10:3: error: unknown element 'Scan' (ignored)
repeated.xml:11:3: error: unknown element 'Scan' (ignored)
repeated.xml:12:3: error: unknown element 'Scan' (ignored)
repeated.xml:13:3: error: unknown element 'Scan' (ignored)
repeated.xml:14:3: error: unknown element 'Scan' (ignored)
repeated.xml:15:3: error: unknown element 'Scan' (ignored)
repeated.xml:16:3: error: unknown element 'Scan' (ignored)
repeated.xml:17:3: error: unknown element 'Scan' (ignored)
repeated.xml:18:3: error: unknown element 'Scan' (ignored)
repeated.xml:19:3: error: unknown element 'Scan' (ignored)
repeated.xml:20:3: error: unknown element 'Scan' (ignored)
repeated.xml:21:3: error: unknown element 'Scan' (ignored)
repeated.xml: ... and 5 more like this
checked 1 file, 1 with faults (26 errors, 0 warnings)
TEXT

# A million empty items: each kind of report is listed 20 times, then counted.
if [ -z "$sanitized" ]; then
    { be32 0x5DF5F465; be32 4000012; be32 0x09751B80; be32 4000004; be32 1000000
      head -c 4000000 /dev/zero; } >million.bin
    run "million" 1 kvt317 check million.bin
    grep -v ': error: \|: warning: ' out | sort | uniq -c >summary
    same summary <<'TEXT'
      1 checked 1 file, 1 with faults (16,000,000 errors, 1,000,000 warnings)
     17 million.bin: ... and 999,980 more like this
TEXT
    head -n 2 out >first
    same first <<'TEXT'
million.bin:1:21: warning: KVT317SettingsDetail[1]: KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
million.bin:1:21: error: KVT317SettingsDetail[1]: KVT317SettingsDetail: Please set AntennaPol properly.
TEXT
    [ "$(wc -l <out)" = 358 ] && passes=$((passes + 1)) || fail "$(wc -l <out) lines, not 358"
else
    skip "million" "too slow under the sanitizers"
fi

# ---- JSON: file, line, column, level, record path, member and message
run "json" 2 kvt317 check --format=json root.xml unknown-tag.bin none.xml
out <<'TEXT'
{
  "files": [
    {
      "file": "root.xml",
      "form": "XML",
      "type": "KVT317_Settings",
      "errors": 1,
      "warnings": 0,
      "diagnostics": [
        {
          "file": "root.xml",
          "line": 1,
          "column": 1,
          "level": "error",
          "path": "",
          "message": "Root element is 'Settings', expected 'KVT317_Settings'"
        }
      ]
    },
    {
      "file": "unknown-tag.bin",
      "form": "binary",
      "type": "KVT317_Settings",
      "errors": 2,
      "warnings": 0,
      "diagnostics": [
        {
          "file": "unknown-tag.bin",
          "line": 1,
          "column": 9,
          "level": "error",
          "path": "",
          "message": "unknown entry 0x01020304 of 0 bytes (ignored)"
        },
        {
          "file": "unknown-tag.bin",
          "line": 1,
          "column": 17,
          "level": "error",
          "path": "",
          "member": "KVT317SettingsDetail",
          "message": "KVT317_Settings: Please set KVT317SettingsDetail properly."
        }
      ]
    },
    {
      "file": "none.xml",
      "error": "cannot read 'none.xml': No such file or directory"
    }
  ],
  "errors": 3,
  "warnings": 0
}
TEXT
run "json quiet" 1 kvt317 check --format json --quiet root.xml
out <<'TEXT'
{
  "files": [
    {
      "file": "root.xml",
      "form": "XML",
      "type": "KVT317_Settings",
      "errors": 1,
      "warnings": 0
    }
  ],
  "errors": 1,
  "warnings": 0
}
TEXT

# ---- JSON input: located at the member's key, or at the record where it names no member;
# a key given twice in one object is read as the last one, and said
cat >faults.json <<'JSON'
{"BearingSettings": {"Name": "North", "Frequency": "fast", "AveragingTime": 1.5,
 "DFBandwidth": 12.345, "DFMode": "gate", "DFBandwith": 1, "BearingVtPath": 7,
 "SlidingWindowTime": 4294967296}}
JSON
run "json input" 1 kvt317 check faults.json
out <<'TEXT'
faults.json:1:39: error: Frequency: expected a number, found a string (ignored)
faults.json:1:39: error: BearingSettings: Please set Frequency properly.
faults.json:1:60: error: AveragingTime: 1.5 is not a whole number (ignored)
faults.json:2:2: warning: DFBandwidth: '12.345' keeps 2 decimals (written as 12.35)
faults.json:2:25: error: DFMode: unknown name 'gate' (read as invalid); allowed: Cont, Norm, Gate
faults.json:2:25: warning: enum is not valid (classname=BearingSettings,membername=m_dFMode)
faults.json:2:25: error: BearingSettings: Please set DFMode properly.
faults.json:2:43: error: unknown member 'DFBandwith' (ignored); did you mean 'DFBandwidth'?
faults.json:2:60: error: BearingVtPath: expected a string or null, found a number (ignored)
faults.json:3:2: error: SlidingWindowTime: '4294967296' does not fit in 32 bits (read as 0)
checked 1 file, 1 with faults (8 errors, 2 warnings)
TEXT
cat >twice.json <<'JSON'
{"KVT317_Settings": {"KVT317SettingsDetail": [
  {"Name": "a", "Thresh\u006fld": 5, "Threshold": 6,
   "FrequencyRange": {"StartFrequency": 1}, "FrequencyRange": {"StopFrequency": 2}},
  7
]}}
JSON
run "json twice" 1 kvt317 check twice.json
grep -v 'Please set' out >located
same located <<'TEXT'
twice.json:2:3: warning: KVT317SettingsDetail[1] ("a"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
twice.json:2:38: warning: KVT317SettingsDetail[1] ("a"): Threshold given twice (first at 2:17); the later one wins
twice.json:3:45: warning: KVT317SettingsDetail[1] ("a"): FrequencyRange given twice (first at 3:4); the later one wins
twice.json:4:3: error: KVT317SettingsDetail[2]: expected an object, found a number (read as an empty item)
twice.json:4:3: warning: KVT317SettingsDetail[2]: KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
checked 1 file, 1 with faults (31 errors, 4 warnings)
TEXT
grep '1\].FrequencyRange ("a"): FrequencyRange: Please set' out >range
same range <<'TEXT'
twice.json:3:45: error: KVT317SettingsDetail[1].FrequencyRange ("a"): FrequencyRange: Please set StartFrequency properly.
TEXT
# ---- a namespace prefix declared on the root: the library's reports are still tied to the
# detail they came from, which is read on its own with the root's declarations
cat >prefixed.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<k:KVT317_Settings xmlns:k="urn:example:kvt317" xmlns="urn:example:other">
  <k:KVT317SettingsDetail Name="North" index="1">
    <k:AntennaPol>vert</k:AntennaPol>
  </k:KVT317SettingsDetail>
  <k:KVT317SettingsDetail xmlns:k="urn:example:kvt317" Name="South" index="2"/>
</k:KVT317_Settings>
XML
run "namespace prefix" 1 kvt317 check prefixed.xml
grep -v 'Please set' out >tied
same tied <<'TEXT'
prefixed.xml:3:3: warning: KVT317SettingsDetail[1] ("North"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
prefixed.xml:4:5: error: KVT317SettingsDetail[1] ("North"): AntennaPol: unknown name 'vert' (read as invalid); allowed: VERT, HOR, LEFT, RIGHT
prefixed.xml:4:5: warning: KVT317SettingsDetail[1] ("North"): enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)
prefixed.xml:6:3: warning: KVT317SettingsDetail[2] ("South"): KVT317_Settings: Tried to append not completely defined or invalid item KVT317SettingsDetail.
checked 1 file, 1 with faults (33 errors, 3 warnings)
TEXT
grep 'AntennaPol properly' out >antenna
same antenna <<'TEXT'
prefixed.xml:4:5: error: KVT317SettingsDetail[1] ("North"): KVT317SettingsDetail: Please set AntennaPol properly.
prefixed.xml:6:3: error: KVT317SettingsDetail[2] ("South"): KVT317SettingsDetail: Please set AntennaPol properly.
TEXT

printf '{"BearingSettings": {"Name": "North",}}' >syntax.json
run "json syntax" 1 kvt317 check syntax.json
out <<'TEXT'
syntax.json:1:39: error: object is missing after a comma
checked 1 file, 1 with faults (1 error, 0 warnings)
TEXT

finish
