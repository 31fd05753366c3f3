#!/usr/bin/env bash
# The built programs as a user runs them: what only a real process shows
# (Ctrl-C, a missing device, velkport-phone in another process).
#   cli_programs.sh VELKPORT VELKPORT_PHONE
set -u
velkport=$1
phone=$2
work=$(mktemp -d /tmp/velk-cli-programs-XXXXXX)
source "$(dirname "$0")/cli_harness.sh"

# An image from the built-in phone, written below to the phone in another process.
expect_exit 0 --simulate image-get 2 -o "$work/f"
[ "$(wc -c <"$work/f")" -eq 4608 ] || fail "image 2 is not 3 frames of 1536"

# Link options belong to the transfers only.
expect_exit 2 --simulate decode --unsolicited
grep -q "decode talks to no phone" "$work/err" || fail "decode with a link option: $(cat "$work/err")"

# Ctrl-C in the middle of a slow image read.
"$velkport" --baud 9600 image-get 2 -o "$work/slow" 2>"$work/err" &
reader=$!
sleep 0.5
kill -INT "$reader"
wait "$reader"
code=$?
[ "$code" -eq 130 ] || fail "an interrupted image read exited $code, not 130"
grep -q "interrupted: the running operation was cancelled and the link closed" "$work/err" ||
    fail "the interruption's sentence: $(cat "$work/err")"
[ ! -e "$work/slow" ] || fail "an interrupted read left a file behind"

# A device that is not there.
expect_exit 3 --device /nonexistent tones
grep -q "the device /nonexistent does not exist" "$work/err" ||
    fail "the missing device's sentence: $(cat "$work/err")"

# The phone in another process, one run after the other.
start_phone --store "$work/store" --baud 115200
tr 0123456789ABCDEF FEDCBA9876543210 <"$work/f" >"$work/written"
expect_exit 0 --device "$device" image-put 2 Anim "$work/written"
expect_exit 0 --device "$device" image-get 2 -o "$work/g"
cmp -s "$work/written" "$work/g" || fail "the image read back differs from the one written"
stop_phone

exit $((failures > 0))
