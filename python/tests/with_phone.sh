#!/usr/bin/env bash
# Runs a command against velkport-phone in another process:
#   with_phone.sh PHONE COMMAND [ARGUMENT]...
# with each argument "@DEVICE@" replaced by the phone's device, and the
# phone stopped afterwards. The command's exit status is the script's.
set -euo pipefail
phone=$1
shift
work=$(mktemp -d)
phone_pid=
finish() {
    [ -z "$phone_pid" ] || { kill "$phone_pid" && wait "$phone_pid"; } 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
"$phone" --store "$work/store" >"$work/out" 2>"$work/err" &
phone_pid=$!
device=
for _ in $(seq 100); do
    device=$(head -n 1 "$work/out")
    [ -n "$device" ] && break
    sleep 0.05
done
[ -n "$device" ] || { echo "velkport-phone printed no device: $(cat "$work/err")" >&2; exit 1; }
arguments=()
for argument in "$@"; do arguments+=("${argument//@DEVICE@/$device}"); done
"${arguments[@]}"
