#!/usr/bin/env bash
# Installs what is missing, builds, and runs the library's main job on the shipped example.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake -S . -B build/qt6 -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/qt6 -j"$(nproc)"

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
build/qt6/examples/frequency_range_example "$out"
