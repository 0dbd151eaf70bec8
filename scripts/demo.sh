#!/usr/bin/env bash
# Installs what is missing, builds, and runs the library's main job on the shipped example.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake -S . -B build/qt6 -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
# What the install step below installs: the libraries, the tool and the editor (not the
# tests, examples and benchmarks, which the default target builds as well). A target installed
# but missing here stops the install; CI runs this script first, on a fresh clone, to see that.
cmake --build build/qt6 -j"$(nproc)" --target ReportBase KVT317Xml KVT317XmlModel kvt317 kvt317-editor

# The tool as a user gets it: installed, and found by the README's examples once
# build/install/bin is on the PATH.
cmake --install build/qt6 --prefix build/install >/dev/null
echo "kvt317 is installed in $PWD/build/install/bin"

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
kvt317=build/install/bin/kvt317
"$kvt317" check examples/settings.xml examples/bearing-settings.xml
"$kvt317" convert examples/settings.xml "$out/settings.bin"
"$kvt317" convert "$out/settings.bin" "$out/settings.xml"
if ! cmp examples/settings.xml "$out/settings.xml"; then
    echo "XML -> binary -> XML does not reproduce examples/settings.xml" >&2
    exit 1
fi
echo "XML -> binary -> XML reproduces examples/settings.xml"
"$kvt317" show "$out/settings.bin"
