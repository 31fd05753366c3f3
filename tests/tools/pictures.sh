#!/usr/bin/env bash
# Images as pictures and tones as files, against velkport-phone in another
# process, its store looked at directly:
#   pictures.sh VELKPORT VELKPORT_PHONE
set -u
velkport=$1
phone=$2
helper="python3 $(dirname "$0")/picture_helper.py"
work=$(mktemp -d /tmp/velk-pictures-XXXXXX)
source "$(dirname "$0")/cli_harness.sh"
store=$work/store

# The frames of image run FIRST COUNT in the store, one after the other.
stored_frames() {
    local n
    for ((n = $1; n < $1 + $2; n++)); do cat "$store/frame-$n.txt"; done
}

start_phone --store "$store"

# A PNG of a known pattern is stored as the frame text the rules give, and
# comes back as the same dots.
$helper make-png "$work/pattern.png" >"$work/pattern.txt" || fail "the helper made no PNG"
on_phone 0 image-put 1 Pattern "$work/pattern.png"
grep -q 'Wrote image 1 "Pattern": 1 frame from frame 1.' "$work/out" ||
    fail "the PNG write said: $(cat "$work/out")"
[ "$(cat "$store/frame-1.txt")" = "$(cat "$work/pattern.txt")" ] ||
    fail "frame 1 in the store is not the pattern's frame text"
on_phone 0 image-get 1 -o "$work/back.png"
[ "$($helper png-frame "$work/back.png")" = "$(cat "$work/pattern.txt")" ] ||
    fail "the PNG read back has other dots than the one written"

# Image 2 into an animated GIF and back: the same frames' text.
stored_frames 51 3 >"$work/before"
on_phone 0 image-get 2 -o "$work/ball.gif" --frame-ms 120
[ "$(head -c 6 "$work/ball.gif")" = GIF89a ] || fail "image 2's GIF is no GIF89a"
grep -q 'Read image 2 "Ball": 3 frames saved to .*ball.gif as an animated GIF of 96 × 64 dots, 120 ms a frame.' \
    "$work/out" || fail "the GIF read said: $(cat "$work/out")"
tr 0123456789ABCDEF FEDCBA9876543210 <"$work/before" >"$work/inverse"
on_phone 0 image-put 2 Inverse "$work/inverse" # something else between
on_phone 0 image-put 2 Again "$work/ball.gif"
stored_frames 51 3 >"$work/after"
cmp -s "$work/before" "$work/after" || fail "image 2 through a GIF came back with other frames"
on_phone 0 image-get 2 -o "$work/ball.txt"
cmp -s "$work/before" "$work/ball.txt" || fail "image 2 read as text differs from the store"

# A tone's MIDI bytes there and back.
on_phone 0 tone-get 1 -o "$work/bells.mid"
[ "$(head -c 4 "$work/bells.mid")" = MThd ] || fail "tone 1 saved no MIDI file"
[ "$(od -An -v -tx1 "$work/bells.mid" | tr -d ' \n' | tr a-f A-F)" = "$(cat "$store/tone-1.txt")" ] ||
    fail "the .mid's bytes are not tone 1's digits"
on_phone 0 tone-put 6 Copy "$work/bells.mid"
cmp -s "$store/tone-1.txt" "$store/tone-6.txt" || fail "the tone written from the .mid differs"
on_phone 0 tone-get 6 -o "$work/copy.mid"
cmp -s "$work/bells.mid" "$work/copy.mid" || fail "the tone read back differs from the .mid"
stop_phone

# A frame that is no bitmap: refused with a sentence, and no file is left.
printf '%0100dXY%01434d' 0 0 >"$store/frame-102.txt"
start_phone --store "$store"
for out in broken.gif broken.png; do
    frame=()
    [ "$out" = broken.png ] && frame=(--frame 2)
    on_phone 1 image-get 3 -o "$work/$out" "${frame[@]}"
    grep -q "velkport image-get: frame 2 of image 3 is no bitmap: a frame of 96 × 64 dots is 1536 hexadecimal digits, and of its 1536 characters 1534 are such digits (the first that is not: character 101)" \
        "$work/err" || fail "the broken frame's sentence: $(cat "$work/err")"
    [ ! -e "$work/$out" ] || fail "a refused conversion left $out behind"
done
on_phone 1 image-show 3
grep -q "frame 2 of image 3 is no bitmap" "$work/err" || fail "image-show of the broken frame: $(cat "$work/err")"
stop_phone

exit $((failures > 0))
