#!/usr/bin/env bash
# Installs what is missing, builds, and runs the library's main job on the shipped example.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake -S . -B build/qt6 -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
# Only what the demo runs: the tool and the libraries it links.
cmake --build build/qt6 -j"$(nproc)" --target kvt317

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
cmp examples/settings.xml "$out/settings.xml" && echo "XML -> binary -> XML reproduces examples/settings.xml"
"$kvt317" show "$out/settings.bin"
