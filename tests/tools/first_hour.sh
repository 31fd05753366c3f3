#!/usr/bin/env bash
# What a new user meets in the first hour with the programs, run as the user
# runs them, point by point: each command line's exit code and the sentence
# it ends with.
#   first_hour.sh SOURCE_DIR VELKPORT VELKPORT_PHONE
set -u
source_dir=$1
velkport=$2
phone=$3
work=$(mktemp -d /tmp/velk-first-hour-XXXXXX)
source "$(dirname "$0")/cli_harness.sh"

# expect CODE SENTENCE ARGS...: velkport ARGS must exit with CODE and say
# SENTENCE, a whole line of standard error (empty: say nothing in
# particular). Output in $work/out and $work/err.
expect() {
    local want=$1 sentence=$2
    shift 2
    "$velkport" "$@" >"$work/out" 2>"$work/err"
    local got=$?
    [ "$got" -eq "$want" ] || fail "velkport $* exited $got, not $want: $(cat "$work/err")"
    [ -z "$sentence" ] || grep -qxF -- "$sentence" "$work/err" ||
        fail "velkport $* did not say: $sentence; it said: $(cat "$work/err")"
}

# Waits up to 5 s for FILE to hold TEXT.
await() {
    for _ in $(seq 100); do
        grep -q -- "$2" "$1" 2>/dev/null && return 0
        sleep 0.05
    done
    return 1
}

printf '4D546864000000060000000100604D54726B0000000C00903C6460803C4000FF2F00' >"$work/tone"
for c in 1 2 3; do head -c 1536 /dev/zero | tr '\0' "$c"; done >"$work/frames"

# 1. A phone that does not answer is told in 3 s, not 30.
start_phone --silent
started=$(date +%s)
expect 5 "velkport tones: no answer to AT on $device within 3 s: is the phone connected, switched on, and is this its port?" \
    --device "$device" tones
[ $(($(date +%s) - started)) -le 6 ] || fail "the probe of a silent phone took more than 6 s"
stop_phone

# 2. A plain configure without GoogleTest builds without the tests and says
# so; asked for the tests (as scripts/test.sh does), it fails instead.
cmake -S "$source_dir" -B "$work/plain" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON >"$work/cmake" 2>&1 ||
    fail "a plain configure without GoogleTest failed: $(tail -n 5 "$work/cmake")"
grep -q "GoogleTest (with GoogleMock) was not found: the tests are left out" "$work/cmake" ||
    fail "a plain configure without GoogleTest does not say that the tests are left out"
if cmake -S "$source_dir" -B "$work/asked" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    -DVELK_BUILD_TESTS=ON >"$work/cmake" 2>&1; then
    fail "a configure that asks for the tests succeeded without GoogleTest"
fi

# 3. A write that stops half way says what it left on the phone: refused at
# the second frame, refused at once, and interrupted with Ctrl-C.
start_phone --refuse 'AT+IMGW=52,' --refuse 'AT+RNGW='
expect 4 "velkport image-put: the write of image 2 stopped after at least 1 of 3 frames had gone out: the phone's image 2 is now incomplete; write it again." \
    --device "$device" image-put 2 Dot "$work/frames"
expect 4 "velkport tone-put: the write into slot 3 stopped before its end: slot 3 of the phone may now hold an incomplete tone; write it again." \
    --device "$device" tone-put 3 Ring "$work/tone"
stop_phone
start_phone --baud 19200
"$velkport" --device "$device" --progress image-put 2 Dot "$work/frames" 2>"$work/err" &
writer=$!
await "$work/err" "1/3 frames" || fail "the paced image write showed no progress"
kill -INT "$writer"
wait "$writer"
code=$?
[ "$code" -eq 130 ] || fail "an interrupted image write exited $code, not 130"
grep -qE "^velkport image-put: the write of image 2 stopped after at least [123] of 3 frames had gone out: the phone's image 2 is now incomplete; write it again\.$" \
    "$work/err" || fail "the interrupted write's sentence: $(tr '\r' '\n' <"$work/err")"

# 4. Every file is checked before the first byte goes to the phone (the
# input files too: the in-process tests show it on a silent phone).
stop_phone
start_phone --log "$work/log" --baud 9600
expect 1 "velkport tone-get: cannot write /nonexistent/x: No such file or directory." \
    --device "$device" tone-get 1 -o /nonexistent/x
[ ! -s "$work/log" ] || fail "the phone got commands before the file was found wrong: $(cat "$work/log")"
stop_phone

# 5. The phone's numbers as values, and as JSON for scripts.
expect 0 "" --simulate tones
grep -qxF 'Ring tones "Tones": value 1 = 3, value 2 = 10, value 3 = 253' "$work/out" ||
    fail "tones: $(cat "$work/out")"
expect 0 "" --simulate images --json
grep -qxF '{"name":"Images","values":[3,6,250,96,64],"images":[{"image":1,"frames":1,"firstFrame":1},{"image":2,"frames":3,"firstFrame":51},{"image":3,"frames":2,"firstFrame":101}]}' \
    "$work/out" || fail "images --json: $(cat "$work/out")"

# 6. Each failure its sentence and the exit code of its class: a directory
# as the file, a refusal with an error code, a device that another velkport
# holds.
expect 2 "velkport tone-put: $work is a directory, not a file." --simulate tone-put 1 Ring "$work"
start_phone --refuse 'AT+IMGINF=+CME ERROR: 22' --baud 9600
expect 4 'velkport images: the phone refused AT+IMGINF with "+CME ERROR: 22".' --device "$device" images
stop_phone
start_phone --baud 9600
"$velkport" --device "$device" --progress --no-probe image-get 1 -o "$work/held" 2>"$work/held-err" &
holder=$!
await "$work/held-err" "0/1 frames" || fail "the first velkport did not start its read"
expect 3 "velkport tones: the device $device is in use by velkport (process $holder)." \
    --device "$device" tones
kill -INT "$holder"
wait "$holder"
stop_phone

# 7. The small things.
expect 0 "" help tones
grep -q "^usage: velkport \[LINK OPTIONS\] tones" "$work/out" || fail "help tones: $(head -n 1 "$work/out")"
expect 2 'velkport tone-get: one argument too many: "2".' --simulate tone-get 1 2
expect 2 "velkport tone-put: a name has 1 to 10 bytes, not 11." --simulate tone-put 1 ElevenBytes "$work/tone"
expect 0 "" --simulate image-get 1 -o "$work/one"
grep -q '^Read image 1 ".*": 1 frame of 1536 characters' "$work/out" ||
    fail "image-get of one frame: $(cat "$work/out")"

exit $((failures > 0))
