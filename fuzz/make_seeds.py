#!/usr/bin/env python3
"""Writes the seed inputs of the fuzz targets into fuzz/corpus/<target>/.

The line-path seeds are real replies captured from phones and modems
(/work/shared/corpus/replies.jsonl by default), a few per command head, laid
out as line_path_fuzzer.cpp reads its input; a few more carry the transfer
commands' own lines. The builder seeds are request blocks of the commands
the transfers send and of a spread of other ids; the command parser seeds are
commands as a user types them; the transfer seeds are whole operations
answered the way a willing phone answers them.

    fuzz/make_seeds.py [replies.jsonl]
"""
import collections
import json
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CORPUS = ROOT / "fuzz" / "corpus"
FIRST_ID, LAST_ID = 13, 241
PER_HEAD = 2


def catalogue():
    text = (ROOT / "src/engine/command_table.cpp").read_text()
    return [(int(i), t) for i, t in re.findall(r'\{(\d+),\s+"([^"]*)"', text)]


def command_id(entries, command):
    """The catalogue id a captured command runs as: its exact text, else the
    longest text ending in '=' that begins it."""
    best, best_len = 0, 0
    for ident, text in entries:
        if text == command:
            return ident
        if text.endswith("=") and command.startswith(text) and len(text) > best_len:
            best, best_len = ident, len(text)
    return best


def line_path_input(ident, command, lines, feed=0):
    selector = 255 if ident == 0 else ident - FIRST_ID
    text = command.encode("latin-1") if ident else b""
    body = b"".join(b"\r\n" + l.encode("latin-1") + b"\r\n" for l in lines)
    return bytes([selector, 0, feed, len(text)]) + text + body


def write(target, name, data):
    path = CORPUS / target
    path.mkdir(parents=True, exist_ok=True)
    (path / name).write_bytes(data)


def line_path_seeds(replies):
    entries = catalogue()
    taken = collections.Counter()
    n = 0
    for row in map(json.loads, replies):
        command = row["command"]
        head = re.split(r"[=?]", command)[0]
        if taken[head] >= PER_HEAD:
            continue
        ident = 0 if command == "(unsolicited)" else command_id(entries, command)
        if command != "(unsolicited)" and ident == 0:
            continue
        taken[head] += 1
        feed = 7 if n % 5 == 4 else 0  # some arrive in pieces
        write("line_path", f"reply_{n:02d}", line_path_input(ident, command, row["lines"], feed))
        n += 1
    # The transfer commands' replies, as the phone sends them; the command
    # text is left to the builder.
    own = [
        (236, ['+RNGI: "Bells",3,1,2', "OK"]),
        (152, ['+RNGR: 3,"Bell",255,1,6,,"ABCDEF",77', "OK"]),
        (152, ['+RNGR: 3,"Bell",1,2,2,10,"' + "4" * 128 + '",78',
               '+RNGR: 3,"Bell",2,2,,,"ABC",79', "OK"]),
        (237, ['+IMGINF: "Anim",1,2,3,4,5,3,1,4,5,2,9', "OK"]),
        (157, ['+IMGR: 1,"Cat",1,3,1,20,"250010","0A0B",5', "OK"]),
        (157, ['+IMGR: 1,"Cat",255,1,40,,"250010","0A",7', "OK"]),
        (239, ["AT", "OK"]),
        (240, ["ERROR"]),
        (154, ["+CME ERROR: 4"]),
    ]
    for k, (ident, lines) in enumerate(own):
        write("line_path", f"transfer_{k:02d}", line_path_input(ident, "", lines))
    # A line longer than the assembler holds, then a reply that must still
    # be read.
    write("line_path", "overlong_line",
          line_path_input(236, "", ["+RNGI: " + "7" * 9000, '+RNGI: "Bells",3,1,2', "OK"], 200))
    # A message text waiting for the phone's prompt (bit 7 of the forms byte,
    # the text behind the command's): sent, stored with the prompt cut, echoed
    # back with a prompt after its line break, refused before the prompt.
    def prompted(ident, body, stream, feed=0):
        return bytes([ident - FIRST_ID, 0x80, feed, 0, len(body)]) + body + stream
    sent = b"\r\n+CMGS: 12\r\n\r\nOK\r\n"
    write("line_path", "prompt_send", prompted(65, b"Hi there", b"\r\n> " + sent))
    write("line_path", "prompt_store_cut",
          prompted(69, b"Hi", b"\r\n> \r\n+CMGW: 4\r\n\r\nOK\r\n", 3))
    write("line_path", "prompt_echo",
          prompted(65, b"Hi\rthere", b"\r\n> Hi\r\r\n> there\x1a" + sent))
    write("line_path", "prompt_refused", prompted(65, b"Hi", b"\r\n+CMS ERROR: 304\r\n\r\n> "))
    # A phone that never sends the prompt: garbage in its place, a final
    # reply alone, or nothing at all.
    write("line_path", "prompt_garbage",
          prompted(65, b"Hi", b"\r\n>> \r\n?\x00\xff>\r\n \x3e\r\n"))
    write("line_path", "prompt_never", prompted(69, b"Hi", b"\r\nOK\r\n"))
    write("line_path", "prompt_silent", prompted(65, b"Hi", b""))
    # Texts the JSON printer must escape: over-long, control and high bytes,
    # quotes and backslashes, in answers and in notices.
    write("line_path", "json_hostile_name",
          line_path_input(13, "AT+CPBR=1",
                          ['+CPBR: 1,"+49",145,"' + 'A\x01\x1b"\\\xff' * 40 + '"', "OK"]))
    write("line_path", "json_hostile_notice",
          line_path_input(0, "", ['+CMTI: "S\x7f\x80",3', '+CREG: 1,"\x1f"',
                                  '+CMT: "+1\\",,"26/01/01"', "text \x00\xfe"]))
    write("line_path", "json_hostile_operator",
          line_path_input(185, "AT+COPS?", ['+COPS: 0,2,"' + "9" * 300 + '"', "OK"]))
    write("line_path", "json_hostile_list",
          line_path_input(94, 'AT+CMGL="ALL"', ['+CMGL: 1,"REC UNREAD","+1\x02",,"\x1b[2J"',
                                                  "\x00\x07\xc3\xa9" * 100, "OK"]))


def builder_seeds():
    ids = [13, 16, 18, 21, 60, 150, 152, 155, 163, 200, 236, 237, 239, 240, 241, 12, 242]
    for ident in ids:
        write("builder", f"zero_{ident:03d}", bytes([ident]))
    name = b"Bell".ljust(10, b"\0")
    body = b"ABCDEF".ljust(129, b"\0")
    # slot, name, nameLength, kind, flag, chunkIndex, bodyLength, count, rest, body, check
    tone = struct.pack("<B10s7B129sB", 3, name, 4, 1, 0, 1, 6, 1, 6, body, 0x55)
    write("builder", "tone_chunk", bytes([154]) + tone)
    write("builder", "tone_length_chunk", bytes([154]) + tone[:14] + bytes([255]) + tone[15:])
    image = tone + bytes([25, 0, 10])
    write("builder", "image_chunk", bytes([159]) + image)
    write("builder", "image_chunk_default_params", bytes([159]) + tone + bytes(3))
    write("builder", "slot", bytes([152, 7]))
    write("builder", "large_id", bytes([250]) + struct.pack(">i", -5))


def command_parser_seeds():
    typed = {
        "phonebook_read": "AT+CPBR=1,10",
        "lower_case": " at+csq\r\n",
        "storage": 'AT+CPBS="SM"',
        "named_row": "#61 AT+CMGR=3",
        "phonebook_write": 'AT+CPBW=,"+4412",145,"Ann"',
        "two_texts": 'AT+CMGR="a",1,"b",2',
        "comma_in_text": 'AT+CSCB=0,"1,5","0-3"',
        "pin_tail": 'AT+CPIN=1,"1234","4321",',
        "lead": 'AT+CMGL="REC UNREAD"',
        "ten_values": "AT+CMGR=1,2,3,4,65535,6,7,8,9,-10",
        "chunk": 'AT+RNGW=2,"Song",1',
    }
    for name, text in typed.items():
        write("command_parser", name, text.encode("latin-1"))


def group(head, *data):
    return bytes([head]) + b"".join(data)


DONE, TIMED_OUT, ERROR, ERROR_TEXT = 0, 4, 8, 12


def transfer_seeds():
    ok = group(DONE)
    opening = ok + ok  # AT, ATE0
    tone_info = bytes([0]) + b"Bells".ljust(10, b"\0") + bytes([3, 1, 5, 2])
    tone_part = bytes([1, 3]) + b"Bell".ljust(10, b"\0") + bytes([4, 255, 1, 6, 0, 0]) \
        + b"ABCDEF".ljust(129, b"\0") + bytes([77])
    image_info = bytes([2]) + b"Anim".ljust(10, b"\0") + bytes([4, 1, 2, 3, 4, 5]) \
        + bytes([4]) + struct.pack(">4H", 3, 1, 2, 4)
    image_part = bytes([3, 1]) + b"Cat".ljust(10, b"\0") + bytes([3, 255, 1, 2, 0, 0]) \
        + b"0A".ljust(129, b"\0") + bytes([7, 25, 0, 10])
    write("transfer", "tone_info", bytes([0]) + opening + group(DONE | 1, tone_info))
    write("transfer", "tone_read", bytes([1, 3]) + opening + group(DONE | 1, tone_part))
    write("transfer", "tone_write", bytes([2, 3, 4]) + b"Bell".ljust(10, b"\0") + bytes([6])
          + b"ABCDEF" + bytes([0, 200]) + opening + ok * 4)
    write("transfer", "image_info", bytes([3]) + opening + group(DONE | 1, image_info))
    write("transfer", "image_read", bytes([4, 1]) + opening + group(DONE | 1, image_info)
          + opening + group(DONE | 1, image_part) + ok)
    write("transfer", "image_write", bytes([5, 1, 3]) + b"Cat".ljust(10, b"\0") + bytes([25, 10, 0])
          + bytes([6, 0]) + opening + group(DONE | 1, image_info) + opening + ok * 14)
    write("transfer", "opening_refused", bytes([0]) + group(ERROR))
    write("transfer", "opening_error_text", bytes([0]) + group(ERROR_TEXT) + bytes([13]) + b"+CME ERROR: 4")
    write("transfer", "opening_retries", bytes([3]) + group(TIMED_OUT) * 2 + opening
          + group(ERROR))
    write("transfer", "two_operations", bytes([3]) + opening + group(DONE | 1, image_info)
          + bytes([4, 2]) + opening + group(DONE | 1, image_part) + group(TIMED_OUT))


def main():
    replies = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "/work/shared/corpus/replies.jsonl")
    line_path_seeds(replies.read_text().splitlines())
    builder_seeds()
    command_parser_seeds()
    transfer_seeds()


if __name__ == "__main__":
    main()
