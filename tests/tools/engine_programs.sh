#!/usr/bin/env bash
# The phone's messages, status and reports through the velkport program,
# against velkport-phone in another process, as a user runs them: what goes
# out comes back, on standard output and in the exit codes.
#   engine_programs.sh VELKPORT VELKPORT_PHONE
set -u
velkport=$1
phone=$2
work=$(mktemp -d /tmp/velk-engine-XXXXXX)
source "$(dirname "$0")/cli_harness.sh"
watcher=

# has FILE TEXT: FILE holds the whole line TEXT.
has() {
    grep -qxF -- "$2" "$1" || fail "no line \"$2\" in: $(cat "$1")"
}

# Waits until FILE holds TEXT, at most 10 s.
await() {
    for _ in $(seq 200); do
        grep -qF -- "$2" "$1" 2>/dev/null && return 0
        sleep 0.05
    done
    return 1
}

# 1. status: each key with the phone's own values.
start_phone
on_phone 0 status --json
has "$work/out" '{"manufacturer":"Velkport","model":"VP-1 phone simulator","revision":"1.0.0","imei":"350000000000017","imsi":"001010123456789","signal":24,"signal_dbm":-65,"battery":85,"registration":"home","operator":"00101"}'

# 2. A message to the phone's own number comes back unread, listed by
# messages with its text and address, read back alone and deleted.
on_phone 0 message-send +15550100 "Back home at 7, bring bread"
grep -qxE 'Sent the message to \+15550100, reference [0-9]+\.' "$work/out" ||
    fail "message-send: $(cat "$work/out")"
on_phone 0 messages --json
index=$(grep -oE '\{"index":[0-9]+,"state":"REC UNREAD","address":"\+15550100","timestamp":"[0-9/,:+]+","text":"Back home at 7, bring bread"\}' \
    "$work/out" | grep -oE '^\{"index":[0-9]+' | grep -oE '[0-9]+$')
[ -n "$index" ] || fail "messages --json does not list the message sent: $(cat "$work/out")"
index=${index:-6}
# Listed once, the message counts as read.
on_phone 0 message-get "$index" --json
grep -qE "^\{\"index\":$index,\"state\":\"REC READ\",\"address\":\"\\+15550100\",.*\"text\":\"Back home at 7, bring bread\"\}$" \
    "$work/out" || fail "message-get $index --json: $(cat "$work/out")"
on_phone 0 messages
has "$work/out" "   Back home at 7, bring bread"
on_phone 0 message-delete "$index"
has "$work/out" "Deleted message $index."
on_phone 4 message-get "$index"
has "$work/err" "velkport message-get: the phone refused AT+CMGR=$index with \"+CMS ERROR: 321\": there is no message at that index."
on_phone 0 messages --json
grep -q "Back home" "$work/out" && fail "the deleted message is still listed: $(cat "$work/out")"

# 3. Texts beyond ASCII on a phone with UCS2: a stored one reads as UTF-8,
# one sent comes back the same, a long one that UCS2 cannot bring back whole
# keeps what IRA carried and says so, and the phone is left in its own set.
on_phone 0 messages --json
grep -qF '{"index":2,"state":"REC READ","address":"+4930555003","timestamp":"24/05/18,18:02:41+08","text":"Grüße aus Köln"}' \
    "$work/out" || fail "messages --json did not read the stored text as UTF-8: $(cat "$work/out")"
on_phone 0 message-send +15550100 "Grüße 東京 🎉"
on_phone 0 message-send +15550100 "Grüße aus Köln, wie geht es euch allen?"
on_phone 0 message-send +15550100 "$(printf 'a%.0s' $(seq 68))🎉"
on_phone 0 messages --json
grep -qE '"state":"REC UNREAD","address":"\+15550100","timestamp":"[0-9/,:+]+","text":"Grüße 東京 🎉"\}' \
    "$work/out" || fail "the message sent in UCS2 did not come back the same: $(cat "$work/out")"
grep -qF '"text":"Gr??e aus K?ln, wie geht es euch allen?"}' "$work/out" ||
    fail "a text too long to read in UCS2 did not keep what IRA carried: $(cat "$work/out")"
grep -qE '^velkport messages: the text of message [0-9]+ is longer than the 20 characters velkport reads in UCS2, so it is shown as IRA carries it, "\?" for a character beyond ASCII\.$' \
    "$work/err" || fail "no word of the text read in IRA: $(cat "$work/err")"
on_phone 0 at 'AT+CSCS?'
grep -qF '"characterSet":"GSM"' "$work/out" || fail "messages left the phone in another set: $(cat "$work/out")"
# A text longer than the library reads of a line is said to be cut.
on_phone 0 message-send +15550100 "$(printf 'abcdefghij%.0s' $(seq 15))"
on_phone 0 messages --json
grep -qF "\"text\":\"$(printf 'abcdefghij%.0s' $(seq 8))abc\"}" "$work/out" ||
    fail "a long text did not read as its first 83 characters: $(cat "$work/out")"
grep -qE '^velkport messages: the text of message [0-9]+ fills the 83 characters velkport reads of a line; the phone may hold more of it\.$' \
    "$work/err" || fail "no word of the cut text: $(cat "$work/err")"

# 4. What is refused before the device is opened, and a phone that refuses.
while IFS='|' read -r text sentence; do
    on_phone 2 message-send +15550100 "$text"
    has "$work/err" "velkport message-send: $sentence."
done <<EOF_TEXTS
$(printf 'ü%.0s' $(seq 71))|a message with characters beyond ASCII goes in UCS2 and holds at most 70 UTF-16 units, this one 71
$(printf 'a%.0s' $(seq 69))🎉|a message with characters beyond ASCII goes in UCS2 and holds at most 70 UTF-16 units, this one 71
$(printf 'a%.0s' $(seq 161))|a message holds at most 160 characters, this one 161
EOF_TEXTS
on_phone 2 message-send 555-0100 "Hi"
has "$work/err" "velkport message-send: NUMBER is a phone number of 1 to 20 digits, with or without a + in front, not \"555-0100\"."
on_phone 2 message-get x
has "$work/err" "velkport message-get: INDEX is a message's number from 0 to 65534, not \"x\"."
stop_phone
start_phone --refuse 'AT+CMGS==+CMS ERROR: 330'
on_phone 4 message-send +15550100 "Hi"
has "$work/err" "velkport message-send: the phone refused AT+CMGS=\"+15550100\" with \"+CMS ERROR: 330\": the phone knows no service centre to send through."
stop_phone
# A phone that answers OK without its prompt sent nothing the library knows of.
start_phone --refuse 'AT+CMGS==OK'
on_phone 0 message-send +15550100 "Hi"
[ -s "$work/out" ] && fail "message-send without a reference printed: $(cat "$work/out")"
has "$work/err" "velkport message-send: the phone answered OK but gave no message reference: whether the message went out is not known."
stop_phone

# 5. A phone without the list of character sets (here in GSM, "?" for what
# ASCII has not) is read as it sends, and takes only ASCII texts: one beyond
# it is refused before anything is sent.
start_phone --refuse 'AT+CSCS=?' --log "$work/log"
on_phone 0 messages --json
grep -qF '"text":"Gr??e aus K?ln"}' "$work/out" || fail "a phone without UCS2 was not read as it sends: $(cat "$work/out")"
on_phone 2 message-send +15550100 "Grüße"
has "$work/err" "velkport message-send: the text holds \"ü\", which the phone's IRA character set cannot carry: velkport sends messages in plain ASCII; write the text without it."
grep -q '^AT+CMGS=' "$work/log" && fail "a text the phone's set cannot carry was sent"
on_phone 0 message-send +15550100 "Hi"
on_phone 0 at 'AT+CSCS?'
grep -qF '"characterSet":"GSM"' "$work/out" || fail "message-send left the phone in another set: $(cat "$work/out")"
stop_phone
# One that will not say its present set still lists UCS2, and is spoken to
# in it.
start_phone --refuse 'AT+CSCS?'
on_phone 0 message-send +15550100 "Grüße 東京"
on_phone 0 messages --json
grep -qF '"text":"Grüße 東京"}' "$work/out" || fail "a phone that does not say its set was not read in UCS2: $(cat "$work/out")"
stop_phone

# 6. watch shows the +CMTI of the message when the network brings it in.
# velkport holds the device while it runs, so the phone's report comes a
# moment after the send, when watch listens.
start_phone --notice-delay 1500
on_phone 0 message-send +15550100 "Are you there?"
"$velkport" --device "$device" watch --json >"$work/watch" 2>"$work/watch-err" &
watcher=$!
await "$work/watch" '"form":"ReportMessageStored"' ||
    fail "watch --json showed no +CMTI notice: $(cat "$work/watch") $(cat "$work/watch-err")"
kill -INT "$watcher"
wait "$watcher"
code=$?
watcher=
[ "$code" -eq 130 ] || fail "watch stopped with Ctrl-C exited $code, not 130"
grep -qE '^\{"resultId":56,"form":"ReportMessageStored","store":"SM","index":[0-9]+\}$' "$work/watch" ||
    fail "the +CMTI notice of watch --json: $(cat "$work/watch")"
on_phone 0 messages --json
grep -qF '"state":"REC UNREAD","address":"+15550100"' "$work/out" ||
    fail "the message watch announced is not listed: $(cat "$work/out")"
stop_phone

exit $((failures > 0))
