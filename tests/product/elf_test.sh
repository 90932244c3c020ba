#!/bin/sh
# What the daemon needs at run time, how much room its code and constants take, and that it says which
# WAV reader it holds; and that every file is built as a review for security asks:
#     elf_test.sh READELF VOXO LIBRARY...
set -eu
readelf=$1
voxo=$2
shift
case $("$readelf" -hW "$voxo") in
    *"Machine: "*ARM*) room=$((48 * 1024)) ;;
    *) room=$((64 * 1024)) ;;
esac

fail() {
    echo "elf_test: $*" >&2
    exit 1
}

needed=$("$readelf" -d "$voxo" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | tr '\n' ' ')
case $needed in
    "libc.so"*" libexpat.so.1 libmessage.so.1 libquill.so.1 ") ;;
    "ld-linux"*" libc.so"*" libexpat.so.1 libmessage.so.1 libquill.so.1 ") ;; # of the stack's guard
    *) fail "needs $needed" ;;
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

grep -aqF 'Id: 1.0.0.1 wav 2011/09/16 19:00:00' "$voxo" || fail "no ident of the WAV reader"
"$readelf" -W --dyn-syms "$voxo" | grep -qE 'UND .*_chk(@| |$)' || fail "$voxo is not fortified"

for file in "$@"; do
    "$readelf" -hW "$file" | grep -q 'Type: *DYN' || fail "$file is not position-independent"
    "$readelf" -lW "$file" | grep -q 'GNU_STACK.* RW ' || fail "$file has an executable stack"
    "$readelf" -lW "$file" | grep -q GNU_RELRO || fail "$file has no RELRO"
    "$readelf" -dW "$file" | grep -qE 'BIND_NOW|Flags:.*NOW' || fail "$file is bound lazily"
    "$readelf" -W --dyn-syms "$file" | grep -q 'UND __stack_chk_fail' || fail "$file has no stack guard"
    # An empty entry, or one that is not relative to the file, is a place where anyone may put a library.
    path=$("$readelf" -dW "$file" | sed -n 's/.*R\(UN\)*PATH.*\[\(.*\)\]/\2/p')
    case :$path: in
        ::) ;;
        *::* | *:[!$]*) fail "$file looks for libraries in '$path'" ;;
    esac
done
