#!/usr/bin/env bash
# Installs the Debian packages the project needs, skipping apt entirely when all are present.
set -euo pipefail

# clang with its sanitizer and libFuzzer runtimes builds the fuzz targets and the thread
# tests; llvm-14 brings llvm-symbolizer for readable sanitizer reports. strace kills an edit at
# each of its calls in the file tests, acl gives files access lists there, and groff renders
# the man page in the install test. pugixml and protobuf are the benchmarks' peers.
packages=(cmake g++ make pkg-config qt6-base-dev qtbase5-dev zlib1g-dev libgtest-dev googletest
          libbenchmark-dev valgrind bc
          clang-format doxygen libxml2-utils clang libclang-rt-14-dev llvm-14
          strace acl attr groff-base
          libpugixml-dev libprotobuf-dev protobuf-compiler)
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
