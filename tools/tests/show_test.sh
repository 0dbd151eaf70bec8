#!/usr/bin/env bash
# kvt317 show, dump, diff, new and members: tables, listings and comparisons, as text and
# as JSON.
#   show_test.sh KVT317 EXAMPLES_DIR [sanitized]
source "$(dirname "$0")/lib.sh"

# ---- show: aligned, every physical member with its unit
run "show bearing" 0 kvt317 show examples/bearing-settings.bin
out <<'TEXT'
examples/bearing-settings.bin: BearingSettings, binary
  Name                           VHF airband sector north
  Index                          1
  Frequency                      121.5 MHz
  AveragingTime                  500 ms
  DFBandwidth                    12.5 kHz
  DFMode                         Gate
  AngleSamples                   360
  LevelThreshold                 -95 dBµV
  QualityThreshold               60 %
  ElevationThreshold             45 °
  SlidingWindowTime              2000 ms
  BearingVtPath                  /var/lib/kvt317/results/bearing.vt
  BearingVtPathSR                /var/lib/kvt317/results/bearing-superresolution.vt
  EigenValueVtPath               /var/lib/kvt317/results/eigenvalues.vt
  SignalEstimationQualityVtPath  /var/lib/kvt317/results/signal-quality.vt
TEXT
sed 's|    <Threshold>15</Threshold>||' examples/settings.xml >incomplete.xml
run "show settings" 0 kvt317 show incomplete.xml
sed -n '1,2p;22,41p' out >part
same part <<'TEXT'
incomplete.xml: KVT317_Settings, XML, 3 items
KVT317SettingsDetail[1] ("VHF airband")
KVT317SettingsDetail[2] ("Marine VHF")
  Name                  Marine VHF
  index                 2
  AntennaPol            HOR
  AntPreAmp             ON
  AverageMode           GATE
  BandwidthDF           12.5 kHz
  BlockAveragingTime    100 ms
  DF_Alt                WATSONWATT
  FrequencyRange
    StartFrequency      156 MHz
    StopFrequency       162.025 MHz
  Real_Time_Bandwidth   10 MHz
  ScanMemoryID          20
  DFPan_Selectivity     NARROW
  Threshold             (unset)
  StopTime              2026-11-30T18:00:00,000Z
  AttSelect             AUTO
  AttenuationHoldValue  12.50 dB
  AttenuationHoldTime   250.00 ms
TEXT
run "show stdin" 0 kvt317 show - <examples/settings.binz
head -n 1 out >first
same first <<<"<stdin>: KVT317_Settings, compressed binary, 3 items"
run "show json" 0 kvt317 show --format=json examples/bearing-settings.xml
head -n 12 out >first
same first <<'TEXT'
{
  "file": "examples/bearing-settings.xml",
  "form": "XML",
  "type": "BearingSettings",
  "document": {
    "BearingSettings": {
      "Name": "VHF airband sector north",
      "Index": 1,
      "Frequency": 121500000.000000000,
      "AveragingTime": 500,
      "DFBandwidth": 12500.00,
      "DFMode": "Gate",
TEXT
run "show malformed" 1 bash -c "printf '<KVT317_Settings>' | '$tool' show -"
err <<<"<stdin>:1:18: error: Premature end of document."

# ---- dump
run "dump" 0 kvt317 dump examples/bearing-settings.bin
out <<'TEXT'
       0  frame 0x856C9896 BearingSettings, length 426
       8    0x58D44D66 Name, length 28: "VHF airband sector north"
      44    0x1FAAD4BF Index, length 8: 1
      60    0xA97DB5BE Frequency, length 23: "121500000.000000000"
      91    0xEBEB1BDE AveragingTime, length 8: 500
     107    0x6F24E1D7 DFBandwidth, length 12: "12500.00"
     127    0x23991AF4 DFMode, length 8: "Gate"
     143    0x18C6455A AngleSamples, length 8: 360
     159    0xD21ED327 LevelThreshold, length 8: -95
     175    0xCAEAFD4C QualityThreshold, length 8: 60
     191    0x4B79C4EC ElevationThreshold, length 8: 45
     207    0x321DF800 SlidingWindowTime, length 8: 2000
     223    0x322B5285 BearingVtPath, length 38: "/var/lib/kvt317/results/bearing.vt"
     269    0xC14E337A BearingVtPathSR, length 54: "/var/lib/kvt317/results/bearing-superresolution.vt"
     331    0xDD4D5499 EigenValueVtPath, length 42: "/var/lib/kvt317/results/eigenvalues.vt"
     381    0xDCD258AB SignalEstimationQualityVtPath, length 45: "/var/lib/kvt317/results/signal-quality.vt"
TEXT
run "dump compressed" 0 kvt317 dump examples/settings.binz
sed -n '1,4p' out >first
same first <<'TEXT'
       0  frame 0x5DF5F465 KVT317_Settings, length 1088
       8    0x09751B80 KVT317SettingsDetail, length 1080, 3 items
      20      item 1, length 355
      24        0x58D44D66 Name, length 15: "VHF airband"
TEXT
{ : | entry 0x01020304; be32 0 | entry 0x09751B80; } | entry 0x5DF5F465 >unknown-tag.bin
run "dump unknown tag" 0 kvt317 dump unknown-tag.bin
out <<'TEXT'
       0  frame 0x5DF5F465 KVT317_Settings, length 20
       8    0x01020304 (unknown), length 0: 
      16    0x09751B80 KVT317SettingsDetail, length 4, 0 items
TEXT
cp examples/settings.bin damaged.bin
printf '\x7f' | dd of=damaged.bin bs=1 seek=390 conv=notrunc 2>/dev/null
run "dump damaged" 1 kvt317 dump damaged.bin
tail -n 3 out >last
same last <<'TEXT'
     598        0x375806BF ScanMemoryID, length 8: 20
     614        0x60866F2C DFPan_Selectivity, length 10: "NARROW"
damaged at offset 632: KVT317SettingsDetail::SetBinary(...): Length error occurred during processing of binary representation
TEXT
head -c 40 examples/settings.bin >truncated.bin
run "dump json damaged" 1 kvt317 dump --format json truncated.bin
out <<'TEXT'
{
  "frame": {
    "offset": 0,
    "tag": "0x5DF5F465",
    "record": "KVT317_Settings",
    "length": 1088,
    "entries": [
      {
        "offset": 8,
        "tag": "0x09751B80",
        "member": "KVT317SettingsDetail",
        "length": 1080,
        "count": 3,
        "items": [
          {
            "offset": 20,
            "length": 355,
            "entries": [
              {
                "offset": 24,
                "tag": "0x58D44D66",
                "member": "Name",
                "length": 15,
                "value": null
              }
            ]
          }
        ]
      }
    ]
  },
  "damage": {
    "offset": 40,
    "expected": "KVT317SettingsDetail::SetBinary(...): Length error occurred during processing of binary representation"
  }
}
TEXT
run "dump json" 0 kvt317 dump --format json unknown-tag.bin
out <<'TEXT'
{
  "frame": {
    "offset": 0,
    "tag": "0x5DF5F465",
    "record": "KVT317_Settings",
    "length": 20,
    "entries": [
      {
        "offset": 8,
        "tag": "0x01020304",
        "member": null,
        "length": 0,
        "bytes": ""
      },
      {
        "offset": 16,
        "tag": "0x09751B80",
        "member": "KVT317SettingsDetail",
        "length": 4,
        "count": 0,
        "items": []
      }
    ]
  }
}
TEXT
run "dump xml" 2 kvt317 dump examples/settings.xml
err <<<"kvt317: examples/settings.xml is XML; dump lists binary documents"
printf '\x12\x34\x56\x78\x00\x00\x00\x00' >foreign.bin
run "dump foreign" 1 kvt317 dump foreign.bin
err <<<"foreign.bin:1:1: error: not a settings document: its first bytes 0x12345678 are neither '<' (XML), '{' (JSON), 'KVTZ' (compressed binary) nor the tag of a record type (binary: KVT317_Settings 0x5DF5F465, KVT317SettingsDetail 0xF9EA2157, BearingSettings 0x856C9896, FrequencyRange 0x0E9DCC54)"

# ---- diff
{ head -n 22 examples/settings.xml; echo '</KVT317_Settings>'; } >one.xml
run "diff equal" 0 kvt317 diff examples/settings.xml examples/settings.binz
out <<<"equal"
sed 's|<Threshold>15</Threshold>|<Threshold>16</Threshold>|' examples/settings.xml >changed.xml
run "diff changed" 1 kvt317 diff examples/settings.xml changed.xml
out <<<"KVT317SettingsDetail[2].Threshold: 15 -> 16"
run "diff unset" 1 kvt317 diff incomplete.xml examples/settings.bin
out <<<"KVT317SettingsDetail[2].Threshold: (unset) -> 15"
run "diff json" 1 kvt317 diff --format json examples/settings.xml changed.xml
out <<'TEXT'
{
  "equal": false,
  "differences": [
    {
      "path": "KVT317SettingsDetail[2].Threshold",
      "a": 15,
      "b": 16
    }
  ]
}
TEXT
# Items paired by Name: removing the first of the details moves none of the others.
cp examples/settings.xml named.xml
kvt317 remove named.xml 'KVT317SettingsDetail[1]'
kvt317 set named.xml 'KVT317SettingsDetail[Name=UHF survey].Threshold' 25
run "diff by name" 1 kvt317 diff --by name examples/settings.xml named.xml
out <<'TEXT'
KVT317SettingsDetail[Name=VHF airband]: only in A
KVT317SettingsDetail[Name=UHF survey].Threshold: 20 -> 25
TEXT
run "diff by nothing" 2 kvt317 diff --by index examples/settings.xml named.xml
err <<'TEXT'
kvt317: --by takes position or name, not 'index'
Try 'kvt317 diff --help'.
TEXT
run "members json" 0 kvt317 members FrequencyRange --format json
out <<'TEXT'
[
  {
    "record": "FrequencyRange",
    "members": [
      {
        "member": "StartFrequency",
        "kind": "number, 2 decimals",
        "attribute": false,
        "default": 88000000.00,
        "required": true
      },
      {
        "member": "StopFrequency",
        "kind": "number, 2 decimals",
        "attribute": false,
        "default": 240000000.00,
        "required": true
      }
    ]
  }
]
TEXT
run "diff types" 1 kvt317 diff examples/settings.xml examples/bearing-settings.xml
out <<<"A is KVT317_Settings, B is BearingSettings"
run "diff items text" 1 kvt317 diff one.xml examples/settings.xml
out <<'TEXT'
KVT317SettingsDetail[2]: only in B
KVT317SettingsDetail[3]: only in B
TEXT
run "diff stdin" 0 kvt317 diff - examples/settings.bin <examples/settings.xml
out <<<"equal"
run "diff items" 1 kvt317 diff --format=json one.xml examples/settings.xml
out <<'TEXT'
{
  "equal": false,
  "differences": [
    {
      "path": "KVT317SettingsDetail[2]",
      "only": "B"
    },
    {
      "path": "KVT317SettingsDetail[3]",
      "only": "B"
    }
  ]
}
TEXT

# ---- new: the form from the output name
run "new" 0 kvt317 new --bearing
out <<'TEXT'
<?xml version="1.0" encoding="UTF-8"?>
<BearingSettings Name="Bearing 1" Index="1">
  <Frequency>100000000.000000000</Frequency>
  <AveragingTime>1000</AveragingTime>
  <DFMode>Norm</DFMode>
</BearingSettings>
TEXT
run "new binary" 0 kvt317 new -o start.bin
run "new binary is binary" 0 kvt317 dump start.bin
head -n 3 out >first
same first <<'TEXT'
       0  frame 0x5DF5F465 KVT317_Settings, length 346
       8    0x09751B80 KVT317SettingsDetail, length 338, 1 item
      20      item 1, length 330
TEXT
run "new compressed" 0 kvt317 new --output=start.binz
run "new compressed is compressed" 0 kvt317 show start.binz
head -n 1 out >first
same first <<<"start.binz: KVT317_Settings, compressed binary, 1 item"
run "new json" 0 kvt317 new --bearing -o start.json
same start.json <<'TEXT'
{
  "BearingSettings": {
    "Name": "Bearing 1",
    "Index": 1,
    "Frequency": 100000000.000000000,
    "AveragingTime": 1000,
    "DFMode": "Norm"
  }
}
TEXT
run "new checks clean" 0 kvt317 check start.bin start.binz start.json
run "new unknown ending" 2 kvt317 new -o start.txt
run "new --to" 0 kvt317 new -o start.txt --to xml
run "new --to is xml" 0 kvt317 check start.txt

# ---- members
run "members" 0 kvt317 members FrequencyRange
out <<'TEXT'
FrequencyRange
  member          kind                default       required  allowed
  StartFrequency  number, 2 decimals  88000000.00   yes
  StopFrequency   number, 2 decimals  240000000.00  yes
TEXT
run "members detail" 0 kvt317 members KVT317SettingsDetail
sed -n '1,8p' out >first
same first <<'TEXT'
KVT317SettingsDetail
  member                kind                     default      required  allowed
  Name                  text, attribute          -            no
  index                 whole number, attribute  -            no
  AntennaPol            enumeration              VERT         yes       VERT, HOR, LEFT, RIGHT
  AntPreAmp             enumeration              OFF          yes       OFF, ON
  AverageMode           enumeration              -            yes       OFF, GATE, NORM
  BandwidthDF           enumeration              -            yes       12.50 Hz, 20.00 Hz, 25.00 Hz, 31.25 Hz, 50.00 Hz, 62.50 Hz, 100.0 Hz, 125.0 Hz, 200.0 Hz, 250.0 Hz, 312.5 Hz, 500.0 Hz, 625.0 Hz, 1.00 kHz, 1.25 kHz, 2.00 kHz, 2.50 kHz, 3.125 kHz, 5.00 kHz, 6.25 kHz, 8.333 kHz, 10.0 kHz, 12.5 kHz, 20.0 kHz, 25.0 kHz, 50.0 kHz, 100 kHz, 200 kHz, 500 kHz, 1 MHz, 2 MHz
TEXT
run "members all" 0 kvt317 members
grep -v '^  ' out >records
same records <<'TEXT'
KVT317_Settings

KVT317SettingsDetail

BearingSettings

FrequencyRange
TEXT
run "members unknown" 2 kvt317 members Bearing
err <<'TEXT'
kvt317: no record type 'Bearing'; the types are KVT317_Settings, KVT317SettingsDetail, BearingSettings, FrequencyRange
Try 'kvt317 members --help'.
TEXT

finish
