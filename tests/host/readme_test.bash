#!/bin/bash
# The host in the README compiles and links as it stands.
# usage: readme_test.bash SOURCE_FOLDER CAMERA_LIBRARY COMPILER [FLAGS...]
set -euo pipefail
source_folder=$1
library=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' \
    "$source_folder/README.md" >"$work/host.cpp"
grep -q cam_create "$work/host.cpp" || { echo "no example found"; exit 1; }
"$@" -std=c++17 -Wall -Wextra -Werror -I "$source_folder" "$work/host.cpp" "$library" \
    -Wl,-rpath,"$(dirname "$library")" -o "$work/host"
