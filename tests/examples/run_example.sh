#!/usr/bin/env bash
# Runs an example program of examples/ as an application runs, against
# velkport-phone in another process: it must read the tone information and
# an image of several frames and exit 0, and end a failure with exit 1 and
# the sentence that says why. Each run is held to 90 s, so a program that
# hangs fails instead of stalling the suite.
#   run_example.sh VELKPORT_PHONE EXAMPLE
set -u
phone=$1
example=$2
name=$(basename "$example")
work=$(mktemp -d /tmp/velk-example-XXXXXX)
source "$(dirname "$0")/../tools/cli_harness.sh"

# expect CODE LINE ARGS...: the example with ARGS exits with CODE, and
# LINE is a whole line of its standard error (when CODE is not 0) or of its
# output.
expect() {
    local want=$1 line=$2
    shift 2
    timeout 90 "$example" "$@" >"$work/out" 2>"$work/err"
    local got=$?
    [ "$got" -eq "$want" ] || fail "$name $* exited $got, not $want: $(cat "$work/err")"
    local said="$work/out"
    [ "$want" -eq 0 ] || said="$work/err"
    grep -qxF -- "$line" "$said" || fail "$name $* did not say: $line; it said: $(cat "$said")"
}

# What velkport-phone holds from the start: three tones in 10 slots, and
# image 2, "Ball", of 3 frames.
start_phone
expect 0 'ring tones "Tones": 3 held, 10 slots' "$device" 2
grep -qxF 'images "Images": 3 held, frames of 96 x 64 dots' "$work/out" ||
    fail "$name printed no image information: $(cat "$work/out")"
grep -qxF 'image 2 "Ball": 3 frames of 1536 characters' "$work/out" ||
    fail "$name printed no image 2: $(cat "$work/out")"
expect 1 "$name: the image read failed (window message 1146): the phone lists no image 9" \
    "$device" 9
stop_phone

start_phone --refuse 'AT+RNGI=+CME ERROR: 22'
expect 1 "$name: the ring-tone information read failed (window message 1133): +CME ERROR: 22" \
    "$device"
stop_phone

expect 1 "$name: cannot open $work/no-such-tty: the device does not exist" "$work/no-such-tty"
expect 2 "usage: $name DEVICE [IMAGE]   (IMAGE from 1 to 255)"
exit $((failures > 0))
