#!/bin/sh
# What the daemon needs at run time, how much room its code and constants take, and that it says which
# WAV reader it holds:
#     elf_test.sh READELF VOXO
set -eu
readelf=$1
voxo=$2
room=$((96 * 1024))

needed=$("$readelf" -d "$voxo" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | tr '\n' ' ')
case $needed in
    "libc.so"*" libexpat.so.1 libmessage.so.1 libquill.so.1 ") ;;
    *)
        echo "needs $needed"
        exit 1 ;;
esac

# Sections that are loaded and not written to. A line holds number, name, type, address, offset, size,
# entry size and flags; numbers below ten begin with a space.
size=0
for hex in $("$readelf" -SW "$voxo" | sed -n 's/^ *\[ *[0-9]*\] *//p' |
    awk '$7 ~ /A/ && $7 !~ /W/ { print $5 }'); do
    size=$((size + 0x$hex))
done
echo "code and constants: $size bytes of $room"
[ "$size" -gt 0 ] && [ "$size" -le "$room" ]

grep -aqF 'Id: 1.0.0.1 wav 2011/09/16 19:00:00' "$voxo" || {
    echo "no ident of the WAV reader"
    exit 1
}
