#!/bin/bash
# The compiler refuses a record whose layout changes: hosts and devices know it.
# usage: records_test.bash SOURCE_FOLDER COMPILER [FLAGS...]
set -euo pipefail
source_folder=$1
shift
compiler=("$@" -std=c++17 -fsyntax-only)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# refused FILE EXPRESSION MESSAGE: FILE compiles as it stands; edited with sed's
# EXPRESSION it fails with MESSAGE.
refused() {
    local file=$1 copy=$work/tree errors
    rm -rf "$copy"
    mkdir "$copy"
    cp -r "$source_folder"/{api,runtime} "$copy"
    if ! "${compiler[@]}" -I "$copy" -x c++ "$copy/$file"; then
        echo "$file does not compile"
        failures=$((failures + 1))
    fi
    sed -i "$2" "$copy"/api/*.h "$copy"/runtime/thread.h
    if errors=$("${compiler[@]}" -I "$copy" -x c++ "$copy/$file" 2>&1); then
        echo "$file compiles after $2"
        failures=$((failures + 1))
    elif [[ $errors != *"static assertion failed: $3"* ]]; then
        echo "$file after $2: $errors"
        failures=$((failures + 1))
    fi
}

refused api/camera_data.h 's/^ *bool cropped;/&  std::uint32_t more;/' CCameraCropInfo
refused api/camera_data.h 's/pos_y;/pos_z;/; s/pos_x;/pos_y;/; s/pos_z;/pos_x;/' CCameraCropInfo
refused api/camera_property.h 's/^ *std::int32_t value;/&  std::int32_t more;/' CAM_PROP_VALUE
refused api/device_commands.h 's/bytes\[32\]/bytes[33]/' "the device takes"
refused api/device_commands.h 's/kMaxFaces = 10/kMaxFaces = 11/' "10 faces"
refused runtime/thread.cpp 's/^ *const int m_stack_size;/&  int m_more;/' "four flags"
# CCameraData holds pointers: its layout is known for 32 bits.
if "${compiler[@]}" -dM -E -x c++ /dev/null | grep -q '__SIZEOF_POINTER__ 4'; then
    refused api/camera_data.h 's/^ *std::uint32_t size;/&  std::uint32_t more;/' "CCameraData"
    refused api/camera_data.h 's/^ *CAM_STREAM stream_type;/std::uint64_t stream_type;/' "CCameraData"
    refused api/camera_data.h \
        's/^ *CAM_STREAM stream_type;/std::uint32_t format_detail;/;
         s/^ *std::uint32_t format_detail; .*12/CAM_STREAM stream_type; \/\//' "CCameraData"
fi
exit $((failures > 0))
