#!/usr/bin/env bash
# The located-findings example on the shipped settings with three typing errors, in XML and in
# binary: the lines written out below, and the same lines as `kvt317 check` prints for the
# same file.
#   located_findings_test.sh EXAMPLE SETTINGS_XML KVT317
set -euo pipefail
program="$1"
example="$2"
tool="$3"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -e 's|<Threshold>10<|<Threshold>ten<|' -e 's|>WATSONWATT<|>WATSON<|' \
    -e 's|index="3"|Index="3"|' "$example" >"$work/typo.xml"
cd "$work"
status=0
"$program" typo.xml >actual || status=$?
cat >expected <<'TXT'
typo.xml:17:5: error: KVT317SettingsDetail[1] ("VHF airband"): Threshold: 'ten' is not a whole number (read as 0)
typo.xml:29:5: error: KVT317SettingsDetail[2] ("Marine VHF"): DF_Alt: unknown name 'WATSON' (read as invalid); allowed: AUTO, WATSONWATT, CORRELATION, SUPERRESOLUTION, VECTORMATCHING
typo.xml:29:5: warning: KVT317SettingsDetail[2] ("Marine VHF"): enum is not valid (classname=KVT317SettingsDetail,membername=m_dF_Alt)
typo.xml:29:5: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set DF_Alt properly.
typo.xml:43:3: error: KVT317SettingsDetail[3] ("UHF survey"): unknown attribute 'Index' (ignored); did you mean 'index'?
TXT
diff -u expected actual
[ "$status" = 1 ] || { echo "exit status $status, expected 1"; exit 1; }
# kvt317 check prints the same lines, then its summary.
tool_status=0
"$tool" check typo.xml >checked || tool_status=$?
[ "$tool_status" = 1 ] || { echo "kvt317 check: exit status $tool_status, expected 1"; exit 1; }
[ "$(tail -n 1 checked)" = "checked 1 file, 1 with faults (4 errors, 1 warning)" ] ||
    { echo "kvt317 check summary: $(tail -n 1 checked)"; exit 1; }
head -n -1 checked >tool_lines
diff -u tool_lines actual
# The same in binary: the check's finding stands at its member's entry, as check places it.
"$tool" convert --force typo.xml typo.bin 2>/dev/null
status=0
"$program" typo.bin >actual || status=$?
cat >expected <<'TXT'
typo.bin:1:503: warning: KVT317SettingsDetail[2] ("Marine VHF"): enum is not valid (classname=KVT317SettingsDetail,membername=m_dF_Alt)
typo.bin:1:503: error: KVT317SettingsDetail[2] ("Marine VHF"): KVT317SettingsDetail: Please set DF_Alt properly.
TXT
diff -u expected actual
[ "$status" = 1 ] || { echo "binary: exit status $status, expected 1"; exit 1; }
tool_status=0
"$tool" check typo.bin >checked || tool_status=$?
[ "$tool_status" = 1 ] || { echo "kvt317 check typo.bin: exit status $tool_status, expected 1"; exit 1; }
head -n -1 checked >tool_lines
diff -u tool_lines actual
