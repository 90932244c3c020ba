#!/bin/sh
# The same sources give the same bytes, wherever they lie: builds what goes on a camera, and the board,
# in two places and compares.
#     same_bytes_test.sh CMAKE SOURCE_DIR BUILD_DIR
set -eu
cmake=$1
source=$2
work="$3/same bytes"
export CCACHE_DISABLE=1 # it gives the second place what it compiled in the first

rm -rf "$work"
trap 'rm -rf "$work"' EXIT
for place in a "another place: with blanks, and longer than forty characters"; do
    mkdir -p "$work/$place"
    (cd "$source" && tar -cf - --exclude=./build --exclude=./.git .) | tar -xf - -C "$work/$place"
    "$cmake" -G Ninja -S "$work/$place" -B "$work/$place/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
    "$cmake" --build "$work/$place/build" --target voxo quill message vcam_board >/dev/null
done
for file in bin/voxo lib/libquill.so.1.0.0 lib/libmessage.so.1.0.0 lib/libvcam_board.so; do
    cmp "$work/a/build/$file" "$work/$place/build/$file"
done
