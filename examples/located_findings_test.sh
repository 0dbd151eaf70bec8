#!/usr/bin/env bash
# The located-findings example on the shipped settings with three typing errors.
set -euo pipefail
program="$1"
example="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -e 's|<Threshold>10<|<Threshold>ten<|' -e 's|>WATSONWATT<|>WATSON<|' \
    -e 's|index="3"|Index="3"|' "$example" >"$work/typo.xml"
cd "$work"
status=0
"$program" typo.xml >actual || status=$?
cat >expected <<'TXT'
typo.xml:17:5: error: KVT317SettingsDetail[1]: Threshold: 'ten' is not a whole number (read as 0)
typo.xml:29:5: error: KVT317SettingsDetail[2]: DF_Alt: unknown name 'WATSON' (read as invalid); allowed: AUTO, WATSONWATT, CORRELATION, SUPERRESOLUTION, VECTORMATCHING
typo.xml:29:5: warning: KVT317SettingsDetail[2]: enum is not valid (classname=KVT317SettingsDetail,membername=m_dF_Alt)
typo.xml:43:3: error: KVT317SettingsDetail[3]: unknown attribute 'Index' (ignored); did you mean 'index'?
typo.xml:29:5: error: KVT317SettingsDetail[2]: KVT317SettingsDetail: Please set DF_Alt properly.
TXT
diff -u expected actual
[ "$status" = 1 ] || { echo "exit status $status, expected 1"; exit 1; }
