#!/usr/bin/env bash
# The contact subcommands against velkport-phone in another process: the
# phone book read back equals what the phone holds (JSON and vCard, whole
# replies and replies cut in pieces), a saved vCard restored into the empty
# ME gives back the same names and numbers, names outside ASCII and beyond
# the BMP written and read back, and the refusals before anything is written.
#   contacts.sh VELKPORT VELKPORT_PHONE
set -u
velkport=$1
phone=$2
work=$(mktemp -d /tmp/velk-contacts-XXXXXX)
source "$(dirname "$0")/cli_harness.sh"

# What velkport-phone --entries N holds in SM: entry i is a first name and a
# surname from its lists, odd ones international.
firsts=(Anna Jürgen Zoë Björn Chloé David Emma François Grace Håkan Ingrid José
    Karl Léa Marta Nils Olga Paul Renée Søren Tomás Ulla Viktor Wanda)
surnames=(Weber Novak Smith Müller Dubois Rossi Berg Costa Kowal Ødegård Lind)
entry() {  # sets number, type, first, surname of entry $1
    local i=$1
    if [ $((i % 2)) -eq 1 ]; then
        number=$(printf '+4930555%04d' "$i") type=145
    else
        number=$(printf '0172555%04d' "$i") type=129
    fi
    first=${firsts[$(((i - 1) % 24))]} surname=${surnames[$((((i - 1) / 24) % 11))]}
}
expected_json() {
    local n=$1 i
    echo "["
    for ((i = 1; i <= n; i++)); do
        entry "$i"
        printf '  {"index":%d,"number":"%s","type":%d,"name":"%s %s"}' "$i" "$number" "$type" \
            "$first" "$surname"
        [ "$i" -lt "$n" ] && echo "," || echo
    done
    echo "]"
}
expected_vcard() {
    local n=$1 i
    for ((i = 1; i <= n; i++)); do
        entry "$i"
        printf 'BEGIN:VCARD\r\nVERSION:3.0\r\nFN:%s %s\r\nN:%s;%s;;;\r\nTEL;TYPE=VOICE:%s\r\nEND:VCARD\r\n' \
            "$first" "$surname" "$surname" "$first" "$number"
    done
}

said() {
    grep -qxF -- "$1" "$work/err" || fail "velkport did not say: $1; it said: $(cat "$work/err")"
}

# 1. The full SIM of 250, read in few commands, equals what the phone holds.
start_phone --log "$work/log"
on_phone 0 contacts --json
expected_json 250 >"$work/want.json"
cmp -s "$work/out" "$work/want.json" ||
    fail "contacts --json differs from the phone's book: $(diff "$work/want.json" "$work/out" | head -n 5)"
commands=$(wc -l <"$work/log")
[ "$commands" -le 20 ] || fail "reading 250 entries took $commands commands on the line"
grep -q '^AT+CSCS="UCS2"$' "$work/log" || fail "the names were not asked for in UCS2"
on_phone 0 at 'AT+CSCS?'
grep -qF '"characterSet":"GSM"' "$work/out" || fail "contacts left the phone in another character set: $(cat "$work/out")"
on_phone 0 contacts --vcard
expected_vcard 250 >"$work/want.vcf"
cmp -s "$work/out" "$work/want.vcf" ||
    fail "contacts --vcard differs from the phone's book: $(diff "$work/want.vcf" "$work/out" | head -n 5)"
on_phone 0 contacts --find Zo --json
[ "$(grep -c '"name":"Zoë ' "$work/out")" -eq 11 ] && ! grep -q '"name":"[^Z]' "$work/out" ||
    fail "contacts --find Zo did not give the eleven Zoë: $(cat "$work/out")"
# A text longer than AT+CPBF= takes is asked by its first seven characters
# ("Ingrid ", eleven names) and the answer narrowed to the one meant.
on_phone 0 contacts --find "Ingrid Ødegård" --json
[ "$(grep -c '"name":' "$work/out")" -eq 1 ] && grep -qF '"name":"Ingrid Ødegård"' "$work/out" ||
    fail "contacts --find \"Ingrid Ødegård\" did not give that one name: $(cat "$work/out")"
grep -q '^AT+CPBF="0049006E00670072006900640020"$' "$work/log" ||
    fail "the long find text was not asked by its first seven characters"
on_phone 2 contacts --json --vcard
stop_phone

# 2. Replies in small pieces, a RING before every line, read the same.
start_phone --split --noise --seed 7 --entries 60
on_phone 0 contacts --json
expected_json 60 >"$work/want.json"
cmp -s "$work/out" "$work/want.json" || fail "contacts --json over a split and noisy line differs"
stop_phone

# 3. A saved vCard restored into the empty ME gives back the same names and
# numbers, at the free places; one restore too many writes nothing.
start_phone --entries 60 --log "$work/log"
on_phone 0 contacts --vcard
cp "$work/out" "$work/saved.vcf"
on_phone 0 contacts-restore "$work/saved.vcf" --memory ME
on_phone 0 contacts --memory ME --json
cmp -s "$work/out" "$work/want.json" ||
    fail "ME after the restore differs from SM: $(diff "$work/want.json" "$work/out" | head -n 5)"
writes=$(grep -c '^AT+CPBW=' "$work/log")
on_phone 2 contacts-restore "$work/saved.vcf" --memory ME
said "velkport contacts-restore: the phone book ME has 40 free places and $work/saved.vcf holds 60 contacts: nothing was written; delete entries there first, or restore into another memory with --memory."
[ "$(grep -c '^AT+CPBW=' "$work/log")" -eq "$writes" ] || fail "a refused restore wrote entries"
printf 'BEGIN:VCARD\r\nFN:A\r\n' >"$work/broken.vcf"
"$velkport" --device "$device" contacts-restore "$work/broken.vcf" >/dev/null 2>"$work/err"
[ $? -eq 2 ] || fail "a vCard without its end was taken"
said "velkport contacts-restore: $work/broken.vcf cannot be restored: card 1 (A) has no END:VCARD."

# 4. Names outside ASCII and beyond the BMP read back as written; a name
# longer than the phone's room is refused before anything is written.
zoe="Zoë Ångström 東京"
party="🎉 Party 𝄞"
on_phone 0 contact-put 99 +4912345 "$zoe" --memory ME
on_phone 0 contact-put 100 0301 "$party" --memory ME
on_phone 0 contacts --memory ME --json
grep -qxF "  {\"index\":99,\"number\":\"+4912345\",\"type\":145,\"name\":\"$zoe\"}," "$work/out" ||
    fail "the name $zoe did not read back: $(tail -n 3 "$work/out")"
grep -qxF "  {\"index\":100,\"number\":\"0301\",\"type\":129,\"name\":\"$party\"}" "$work/out" ||
    fail "the name $party did not read back: $(tail -n 3 "$work/out")"
on_phone 0 contacts --memory ME --vcard --find "Zoë Å"
[ "$(grep -c '^BEGIN:VCARD' "$work/out")" -eq 1 ] && grep -qxF "FN:$zoe"$'\r' "$work/out" ||
    fail "contacts --find \"Zoë Å\" --vcard did not give $zoe alone: $(cat "$work/out")"
on_phone 0 contact-put 97 555 "" --memory ME
on_phone 0 contacts --memory ME --json
grep -qxF '  {"index":97,"number":"555","type":129,"name":""},' "$work/out" ||
    fail "an entry without a name did not read back: $(grep '"index":97' "$work/out")"
writes=$(grep -c '^AT+CPBW=' "$work/log")
on_phone 2 contact-put 98 1 "ABCDEFGHIJKLMNO🎉" --memory ME
said "velkport contact-put: the name \"ABCDEFGHIJKLMNO🎉\" takes 17 UTF-16 units, and names in the phone book ME have room for 16; nothing was written."
on_phone 2 contact-put 101 1 A --memory ME
said "velkport contact-put: the phone book ME has the places 1 to 100: 101 is none of them; nothing was written."
[ "$(grep -c '^AT+CPBW=' "$work/log")" -eq "$writes" ] || fail "a refused contact-put wrote"
on_phone 0 contact-delete 99 --memory ME
on_phone 0 contacts --memory ME --json
grep -q '"index":99,' "$work/out" && fail "contact-delete 99 left the entry"
stop_phone

# 5. A phone without the list of character sets is read in its own (here
# GSM: "?" for what ASCII has not), and takes only ASCII names.
start_phone --refuse 'AT+CSCS=?' --entries 3
on_phone 0 contacts --json
grep -qF '"name":"Zo? Weber"' "$work/out" || fail "a phone without UCS2 was not read as it is: $(cat "$work/out")"
on_phone 2 contact-put 5 1 "Zoë"
said "velkport contact-put: the phone offers no UCS2 character set, so a name must be plain ASCII, and \"Zoë\" is not; nothing was written."
stop_phone

# 6. A read the phone refuses ends with the command and its line; one it
# answers with "not found" (as some phones answer a range without entries)
# is an empty range, and the next is still read.
start_phone --refuse 'AT+CPBR=1,'
on_phone 4 contacts
said "velkport contacts: the phone refused AT+CPBR=1,125 with \"ERROR\" while reading the phone book SM."
stop_phone
start_phone --refuse 'AT+CPBR=1,=+CME ERROR: 22' --refuse 'AT+CPBR=126,=+CME ERROR: 22'
on_phone 0 contacts --json
[ "$(cat "$work/out")" = "[]" ] || fail "two ranges answered with +CME ERROR: 22 did not give an empty book"
on_phone 0 at 'AT+CSCS?'
grep -qF '"characterSet":"GSM"' "$work/out" || fail "a read ended by a refusal left the phone in another set"
stop_phone
start_phone --refuse 'AT+CPBR=1,=+CME ERROR: 22'
on_phone 0 contacts --json
[ "$(grep -c '"index":' "$work/out")" -eq 125 ] && head -n 2 "$work/out" | grep -q '"index":126,' ||
    fail "a range answered with +CME ERROR: 22 did not leave the next range read: $(head -n 3 "$work/out")"
stop_phone

# 7. A read that misses entries the phone counts (here it answers the first
# range with OK alone) restores nothing: a missed entry would look free.
start_phone --entries 60 --refuse 'AT+CPBR=1,=OK' --log "$work/log"
on_phone 4 contacts-restore "$work/saved.vcf"
said "velkport contacts-restore: the phone book SM holds 60 entries by the phone's count, but only 0 could be read: nothing was written, so that none is written over; try again."
grep -q '^AT+CPBW=' "$work/log" && fail "a restore after a read that missed entries wrote"
stop_phone

exit "$failures"
