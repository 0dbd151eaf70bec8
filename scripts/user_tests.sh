#!/usr/bin/env bash
# Runs, as root, the tool's process tests that behave differently for an ordinary user (a
# read-only directory refuses a write only to one) as the user kvt317ci, made if absent, on a
# copy of the build that user may read and write.
#   scripts/user_tests.sh [BUILD_DIR]
# KVT317_NO_SKIPS and KVT317_ALLOWED_SKIPS pass through to the tests.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/qt6}"
user=kvt317ci

[ "$(id -u)" = 0 ] || { echo "$0: run as root, to act as the user $user" >&2; exit 2; }
id -u "$user" >/dev/null 2>&1 || useradd -m "$user"

copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
mkdir "$copy/bin" "$copy/lib" "$copy/tests"
cp tools/tests/*.sh "$copy/tests/"
cp -r examples "$copy/examples"
cp "$build/tools/kvt317" "$build/examples/locked_edit" "$copy/bin/"
cp -P "$build"/lib*.so* "$copy/lib/"
chown -R "$user:" "$copy"
chmod 0755 "$copy"

cd "$copy"
status=0
for suite in cli files; do
    echo "--- ${suite}_test.sh as $user"
    runuser -u "$user" -- env HOME="/home/$user" LD_LIBRARY_PATH="$copy/lib" \
        KVT317_NO_SKIPS="${KVT317_NO_SKIPS:-}" KVT317_ALLOWED_SKIPS="${KVT317_ALLOWED_SKIPS:-}" \
        bash "$copy/tests/${suite}_test.sh" "$copy/bin/kvt317" "$copy/examples" "" \
        "$copy/bin/locked_edit" || status=1
done
exit "$status"
