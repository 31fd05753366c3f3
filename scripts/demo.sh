#!/usr/bin/env bash
# Builds Velkport's programs and shows the whole job on a simulated phone in
# another process, as the velkport command does it on a real one: lists the
# ring tones, reads one, writes one and reads it back, lists the images,
# reads an image of several frames (with its progress bar on a terminal),
# writes an image and reads it back. Exits 0 only when every step did what
# it should.
#
#   BUILD_DIR   the build tree (default: build at the top)
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" || exit 1
build=${BUILD_DIR:-$root/build}
# The build's own progress, "[ 45%] Building CXX object ..." (or "[12/200]"
# with Ninja), as one line redrawn on a terminal, otherwise a line at every
# tenth; the whole log is shown only when the build fails.
show_progress() {
    local line step last_tenth=-1 columns=${COLUMNS:-80}
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$build_log"
        [[ $line =~ ^\[\ *([0-9]+)%\] || $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        step=${BASH_REMATCH[1]}
        [ -n "${BASH_REMATCH[2]:-}" ] && step=$((100 * step / BASH_REMATCH[2]))
        if [ -t 1 ]; then
            printf '\r\033[K  %s' "${line:0:$((columns - 3))}"
        elif [ $((step / 10)) -gt "$last_tenth" ]; then
            last_tenth=$((step / 10))
            echo "  $step % built"
        fi
    done
    [ -t 1 ] && printf '\r\033[K'
    return 0
}
echo "Building velkport and velkport-phone in $build (a few minutes the first time) ..."
build_log=$(mktemp /tmp/velkport-demo-build-XXXXXX)
if ! cmake -S "$root" -B "$build" >"$build_log" 2>&1; then
    cat "$build_log" >&2
    echo "demo: the configure failed" >&2
    exit 1
fi
cmake --build "$build" --target velkport_program velkport-phone -j "${JOBS:-$(nproc)}" 2>&1 |
    show_progress
if [ "${PIPESTATUS[0]}" != 0 ]; then
    tail -n 40 "$build_log" >&2
    echo "demo: the build failed (the whole log: $build_log)" >&2
    exit 1
fi
rm -f "$build_log"
velkport=$build/tools/velkport/velkport
phone=$build/tools/velkport-phone/velkport-phone

work=$(mktemp -d /tmp/velkport-demo-XXXXXX)
phone_pid=
cleanup() {
    [ -n "$phone_pid" ] && kill "$phone_pid" 2>/dev/null && wait "$phone_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# The phone keeps what it holds in a directory, so that one run of velkport
# reads what another wrote, and so that what it stored can be looked at.
"$phone" --store "$work/store" --baud 115200 >"$work/phone-out" 2>"$work/phone-err" &
phone_pid=$!
device=
for _ in $(seq 100); do
    device=$(head -n 1 "$work/phone-out" 2>/dev/null)
    [ -n "$device" ] && break
    sleep 0.05
done
if [ -z "$device" ]; then
    echo "demo: the simulated phone did not start: $(cat "$work/phone-err")" >&2
    exit 1
fi
echo "A simulated phone answers on $device at 115200 baud; it keeps its contents in $work/store."
echo

steps=0
failed=0
# step TITLE OK DETAIL: one line per step.
step() {
    steps=$((steps + 1))
    if [ "$2" = 0 ]; then
        printf '  ok      %-42s %s\n' "$1" "$3"
    else
        failed=$((failed + 1))
        printf '  FAILED  %-42s %s\n' "$1" "$3"
    fi
}
# run ARGS...: velkport on the phone; its output in $work/out, its sentences in
# $work/err; the exit code in $code.
run() {
    "$velkport" --device "$device" "$@" >"$work/out" 2>"$work/err"
    code=$?
}
# As run, with standard error left on the terminal, for the progress bar.
run_shown() {
    "$velkport" --device "$device" "$@" >"$work/out"
    code=$?
}
last_line() { tail -n 1 "$1" | tr -d '\n'; }

run tones --slots 3
names=$(awk 'NR > 2 { printf "%s%s", sep, $2; sep = ", " }' "$work/out")
[ "$code" = 0 ] && [ "$names" = "Bells, Chime, Alarm" ]
step "velkport tones --slots 3" $? "$(head -n 1 "$work/out"); slots 1-3 hold $names"

run tone-get 1 -o "$work/tone-1"
[ "$code" = 0 ] && cmp -s "$work/tone-1" "$work/store/tone-1.txt"
step "velkport tone-get 1 -o tone-1" $? "$(last_line "$work/out")"

# A short MIDI file, as the phone keeps tones: its bytes in hexadecimal.
printf '4D546864000000060000000100604D54726B0000000C00903C6460803C4000FF2F00' >"$work/demo-tone"
run tone-put 4 Demo "$work/demo-tone"
put=$code
run tone-get 4 -o "$work/tone-4"
[ "$put" = 0 ] && [ "$code" = 0 ] && cmp -s "$work/demo-tone" "$work/tone-4"
step "velkport tone-put 4 Demo; tone-get 4" $? \
    "wrote $(wc -c <"$work/demo-tone") characters to slot 4 and read the same back"

run images
table=$(awk 'NR > 2 { printf "%simage %s: %s frame%s from frame %s", sep, $1, $2, ($2 == 1 ? "" : "s"), $3; sep = "; " }' "$work/out")
[ "$code" = 0 ] && [ -n "$table" ]
step "velkport images" $? "$table"

echo "  reading image 2, frame by frame:"
run_shown image-get 2 -o "$work/image-2"
[ "$code" = 0 ] && [ "$(wc -c <"$work/image-2")" = 4608 ]
step "velkport image-get 2 -o image-2" $? "$(last_line "$work/out")"

# The same three frames with every dot turned over, into image 3.
tr 0123456789ABCDEF FEDCBA9876543210 <"$work/image-2" >"$work/turned"
echo "  writing image 3, frame by frame:"
run_shown image-put 3 Turned "$work/turned"
put=$code
run image-get 3 -o "$work/image-3"
stored=$(cat "$work/store/frame-101.txt" "$work/store/frame-102.txt" "$work/store/frame-103.txt" 2>/dev/null)
[ "$put" = 0 ] && [ "$code" = 0 ] && cmp -s "$work/turned" "$work/image-3" &&
    [ "$stored" = "$(cat "$work/turned")" ]
step "velkport image-put 3 Turned; image-get 3" $? \
    "3 frames written and read back the same; the phone stored them as frame-101 to frame-103"

"$velkport" --device /dev/velkport-demo-none tones >/dev/null 2>"$work/err"
code=$?
[ "$code" = 3 ]
step "velkport --device /dev/velkport-demo-none" $? "exit $code: $(last_line "$work/err" | sed 's/^velkport tones: //')"

echo
if [ "$failed" = 0 ]; then
    echo "All $steps steps did what they should."
    exit 0
fi
echo "$failed of $steps steps failed."
exit 1
