#!/usr/bin/env bash
# The README's command lines for pkg-config users with a private prefix, run as they stand:
# the build is installed into build/install of a directory that also holds the examples, the
# lines run there without LD_LIBRARY_PATH, and the program they build runs.
#   private_prefix_test.sh BUILD_DIR SOURCE_DIR WORK_DIR
set -euo pipefail
build="$1"
source_dir="$2"
work="$3"

rm -rf "$work"
mkdir -p "$work/build"
cmake --install "$build" --prefix "$work/build/install" >/dev/null
ln -s "$source_dir/examples" "$work/examples"

# The sh block of the README's Packaging section, without the list item's indentation.
lines=$(awk '/^## /{section=$0} section=="## Packaging" && /^  ```sh$/{block=1; next}
             block && /^  ```$/{exit} block{sub(/^  /, ""); print}' "$source_dir/README.md")
if [ -z "$lines" ]; then
    echo "no sh block in the README's Packaging section"
    exit 1
fi
echo "$lines"
cd "$work"
output=$(env -u LD_LIBRARY_PATH TMPDIR="$work" bash -euo pipefail -c "$lines")
echo "$output"
last=$(tail -n 1 <<<"$output")
if [ "$last" != "Both copies equal the original." ]; then
    echo "the program's last line is '$last'"
    exit 1
fi
echo "the README's lines build and run the example"
