#!/usr/bin/env bash
# Installs the Debian packages the project needs, skipping apt entirely when all are present.
set -euo pipefail

packages=(cmake g++ make pkg-config qt6-base-dev qtbase5-dev zlib1g-dev libgtest-dev googletest
          libbenchmark-dev valgrind bc
          clang-format doxygen libxml2-utils)
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' \
        || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq "${missing[@]}" >/dev/null
fi
