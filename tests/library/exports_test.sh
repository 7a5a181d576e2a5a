#!/bin/bash
# exports_test.sh LIBRARY EXPORTS.MAP: the library exports what the map lists
# and nothing else, all of it, and needs only what every television has.
set -u
library=$1
map=$2
status=0

# The patterns of the map: names and quoted names that end in a semicolon.
mapfile -t patterns < <(sed -e 's,/\*.*\*/,,' -e '/^local:/,$d' "$map" |
    sed -nE -e 's/^ *"([^"]+)";.*$/\1/p' -e 's/^ *([A-Za-z0-9_~?:*]+);.*$/\1/p')
if [ ${#patterns[@]} -lt 10 ]; then
    echo "the map was not understood"
    exit 1
fi

mapfile -t symbols < <(nm -DC --defined-only "$library" | cut -d' ' -f3-)
if [ ${#symbols[@]} -lt 10 ]; then
    echo "the library was not understood"
    exit 1
fi

# The map's wildcards are a shell's.
for symbol in "${symbols[@]}"; do
    listed=no
    for pattern in "${patterns[@]}"; do
        # shellcheck disable=SC2053
        if [[ $symbol == $pattern ]]; then
            listed=yes
            break
        fi
    done
    if [ $listed = no ]; then
        echo "exported and not listed: $symbol"
        status=1
    fi
done
for pattern in "${patterns[@]}"; do
    used=no
    for symbol in "${symbols[@]}"; do
        # shellcheck disable=SC2053
        if [[ $symbol == $pattern ]]; then
            used=yes
            break
        fi
    done
    if [ $used = no ]; then
        echo "listed and not exported: $pattern"
        status=1
    fi
done

while read -r needed; do
    case $needed in
        libusb-1.0.so.0 | libstdc++.so.6 | libgcc_s.so.1 | libc.so.6 | libm.so.6) ;;
        *)
            echo "needs $needed"
            status=1
            ;;
    esac
done < <(readelf -d "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p')
exit $status
