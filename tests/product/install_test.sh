#!/bin/sh
# Installs the product into a folder and runs it on a bare virtual camera: the installed init script,
# in BusyBox's shell, takes the installed daemon through what happens to a camera's daemon.
#     install_test.sh CMAKE BUILD_DIR SAMPLE
set -eu
cmake=$1
build=$2
sample=$3
stage=$build/stage
vcam=$build/bin/vcam
export VCAM_DIR="$build/stage-camera"
pid_file=$VCAM_DIR/var/run/voxo.pid

fail() {
    echo "install_test: $*" >&2
    exit 1
}

# expect STATUS ACTION...: what the init script answers. Its path is relative: it may not hold a colon.
expect() {
    status=$1
    shift
    result=0
    (cd "$stage" && exec "$vcam" exec env PATH=busybox sh etc/init.d/voxo "$@") || result=$?
    [ "$result" -eq "$status" ] || fail "$* gave $result, not $status"
}

installed() {
    (cd "$stage" && find . ! -type d | sort | tr '\n' ' ')
}

rm -rf "$stage" "$VCAM_DIR"
"$cmake" --install "$build" --prefix "$stage" >/dev/null
[ "$(installed)" = "./etc/init.d/voxo ./etc/voxo.xml ./sbin/voxo ./share/man/man8/voxo.8 " ] ||
    fail "installs $(installed)"
"$cmake" --install "$build" --prefix "$stage" --component camera >/dev/null
for library in quill message; do
    [ -e "$stage/lib/lib$library.so.1" ] || fail "no lib$library.so.1"
done
if grep -qF "$build" "$stage/sbin/voxo"; then
    fail "the daemon knows where it was built"
fi

mkdir "$stage/busybox"
busybox --install -s "$stage/busybox"
"$vcam" run --bare --fast >"$stage/camera.log" 2>&1 &
camera=$!
mkdir "$stage/other"
cp "$(command -v sleep)" "$stage/other/voxo" # another tree's daemon, for all that its name says
"$stage/other/voxo" 600 &
other=$!
trap 'kill $camera $other; wait $camera || true' EXIT
for _ in $(seq 100); do
    if "$vcam" status >/dev/null 2>&1; then
        break
    fi
    sleep 0.1
done

expect 3 status
expect 7 reload
expect 0 stop
expect 2 begin
expect 0 start
first=$(cat "$pid_file")
expect 0 start
expect 0 status
[ "$(cat "$pid_file")" = "$first" ] || fail "started twice"
"$vcam" cast "$sample" --check --fast

# A volume of which nobody has told the daemon, but for the reload.
mv "$pid_file" "$pid_file.away"
"$vcam" set audioout_c0_volume 50
mv "$pid_file.away" "$pid_file"
expect 0 reload
for _ in $(seq 50); do
    if "$vcam" status | grep -q '46 left, 46 right'; then
        break
    fi
    sleep 0.1
done
"$vcam" status | grep -q '46 left, 46 right' || fail "the volume was not read"

expect 0 restart
[ "$(cat "$pid_file")" != "$first" ] || fail "not started again"
kill -KILL "$(cat "$pid_file")"
expect 1 status
expect 0 start
kill -STOP "$(cat "$pid_file")" # it hangs, and does not heed the signal to end
(sleep 2 && kill -CONT "$(cat "$pid_file")") &
expect 0 stop
[ ! -e "$pid_file" ] || fail "the PID file is still there"

# Another process's number in the PID file: that process is left alone, and the daemon is found all the
# same, as it is with an empty file.
expect 0 start
for content in "$other" ""; do
    echo "$content" >"$pid_file"
    expect 0 status
    expect 0 reload
done
expect 0 stop
[ -e "/proc/$other/exe" ] || fail "ended another tree's daemon"
[ ! -e "$pid_file" ] || fail "the PID file is still there"
echo "$other" >"$pid_file"
expect 1 status
expect 7 reload
expect 0 stop
[ -e "/proc/$other/exe" ] || fail "ended another tree's daemon"
expect 3 status
rm -r "$stage/sbin"
expect 3 status
