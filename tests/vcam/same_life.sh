#!/usr/bin/env bash
# Lives seeds on this PC and on the target that the environment names: same_life.sh VCAM SEEDS...
# Log, requests, driver commands and sound are the same on both.
set -euo pipefail

life() {
    "$@" | grep digest
}
vcam=$1
for seed in "${@:2}"; do
    there=$(life "$vcam" sim --seed "$seed" --hours 0.3)
    here=$(life env -u VCAM_RUNNER -u VCAM_VOXO -u VCAM_BOARD "$vcam" sim --seed "$seed" --hours 0.3)
    if [ "$there" != "$here" ]; then
        printf 'seed %s there:\n%s\nhere:\n%s\n' "$seed" "$there" "$here"
        exit 1
    fi
done
