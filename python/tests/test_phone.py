"""velkport.Phone against velkport-phone in another process: what the phone
stores (its --store directory) against what the package hands back."""

from __future__ import annotations

import errno

import pytest

import velkport


def test_tone_info_and_tones_read_as_the_phone_stores_them(sim) -> None:
    with velkport.Phone(sim.device) as phone:
        info = phone.tone_info()
        tones = {slot: phone.tone(slot) for slot in (1, 2, 3)}
    assert info.name and len(info.values) == 3
    for entry in sim.index()["tones"]:
        tone = tones[entry["slot"]]
        assert tone.name == entry["name"]
        stored = sim.stored(f"tone-{entry['slot']}.txt")
        # The seeded tones are MIDI files in hexadecimal: they come as bytes.
        assert isinstance(tone.data, bytes) and tone.data.startswith(b"MThd")
        assert tone.data == bytes.fromhex(stored)


@pytest.mark.parametrize(
    ("data", "stored"),
    [
        (b"MThd\x00\x00\x00\x06\xff", "4D54686400000006FF"),
        ("Bells:d=4,o=5,b=100:c,e,g", "Bells:d=4,o=5,b=100:c,e,g"),
        # An odd count of digits is no run of bytes: it stays text.
        ("ABC", "ABC"),
    ],
)
def test_a_written_tone_is_stored_and_reads_back_the_same(sim, data, stored) -> None:
    with velkport.Phone(sim.device) as phone:
        phone.write_tone(5, "Mine", data)
        back = phone.read_tone(5)
    assert sim.stored("tone-5.txt") == stored
    assert back == data and type(back) is type(data)


def test_image_info_lists_the_stored_images(sim) -> None:
    with velkport.Phone(sim.device) as phone:
        info = phone.image_info()
    assert (info.width, info.height) == (96, 64)
    assert [(image.frames, image.first_frame) for image in info.images] == [
        (entry["frames"], entry["first"]) for entry in sim.index()["images"]
    ]


def test_read_image_gives_each_stored_frame(sim) -> None:
    with velkport.Phone(sim.device) as phone:
        frames = phone.read_image(2)
        image = phone.image(3)
    entries = sim.index()["images"]
    ball, wave = entries[1], entries[2]
    assert frames == [sim.stored(f"frame-{ball['first'] + k}.txt") for k in range(ball["frames"])]
    assert image.name == wave["name"] and len(image.frames) == wave["frames"]
    assert f"{image.param_first}{wave['frames']:02d}0{image.param_last}" == wave["param"]


def test_a_written_image_is_stored_frame_by_frame(sim) -> None:
    frames = ["F0" * 768, "0F" * 768, "A5" * 768]
    with velkport.Phone(sim.device) as phone:
        phone.write_image(2, "Stripes", frames, param_first=12, param_last=4)
        back = phone.image(2)
    first = sim.index()["images"][1]["first"]
    assert [sim.stored(f"frame-{first + k}.txt") for k in range(3)] == frames
    assert (back.frames, back.param_first, back.param_last) == (frames, 12, 4)


def test_run_returns_the_blocks_of_each_command(sim) -> None:
    with velkport.Phone(sim.device) as phone:
        one = phone.run("AT+CSQ")
        several = phone.run(["AT+CGMI", "AT+CSQ", "AT+CBC"])
    assert [block["form"] for block in one] == ["ResultSignal"]
    assert [block["command"] for block in several] == [0, 1, 2]
    assert several[1]["form"] == "ResultSignal" and isinstance(several[1]["rssi"], int)


def test_contacts_reads_the_whole_phone_book(start_phone) -> None:
    sim = start_phone("--entries", "7")
    with velkport.Phone(sim.device) as phone:
        entries = phone.contacts()
        phone.run('AT+CPBW=,"+15551234",145,"Added"')
        after = phone.contacts()
        none = phone.contacts("ME")
    assert [entry["index"] for entry in entries] == list(range(1, 8))
    assert all(entry["form"] == "ResultPhonebookEntry" for entry in entries)
    assert [entry["text"] for entry in after if entry["number"] == "+15551234"] == ["Added"]
    assert none == []


def test_messages_and_a_notice_of_one_sent_to_the_phone_itself(start_phone) -> None:
    sim = start_phone("--entries", "0")
    with velkport.Phone(sim.device, notices=True) as phone:
        before = phone.messages()
        phone.run('AT+CMGS="+15550100"', body="hello there")
        notices = phone.notices(wait=5)
        unread = phone.messages("REC UNREAD")
    assert [message["index"] for message in before] == [1, 2, 3, 4, 5]
    assert all(message["body"] and message["state"] for message in before)
    assert [notice["form"] for notice in notices] == ["ReportMessageStored"]
    assert [message["body"] for message in unread][-1] == "hello there"


def test_messages_read_texts_beyond_ascii_in_ucs2_and_leave_the_set(start_phone) -> None:
    sim = start_phone("--entries", "0")
    with velkport.Phone(sim.device) as phone:
        long_text = "Grüße aus Köln, wie geht es euch allen?".encode("utf-16-be").hex()
        phone.run(['AT+CMGF=1', 'AT+CSCS="UCS2"'])
        phone.run('AT+CMGW="+15550123"', body=long_text.upper())
        phone.run('AT+CSCS="GSM"')
        listed = phone.messages()
        present = phone.run("AT+CSCS?")
    bodies = {message["index"]: message["body"] for message in listed}
    assert bodies[2] == "Grüße aus Köln"
    assert bodies[1] == "See you at eight"
    # Too long for the library's field in UCS2: as the phone's set carried it.
    assert bodies[6] == "Gr??e aus K?ln, wie geht es euch allen?"
    assert [message["address"] for message in listed][:2] == ["+4930555001", "+4930555003"]
    assert present[0]["characterSet"] == "GSM"


def test_status_answers_each_command_and_survives_a_refused_one(start_phone) -> None:
    sim = start_phone("--refuse", "AT+CBC")
    with velkport.Phone(sim.device) as phone:
        status = phone.status()
    assert list(status) == list(velkport.phone.op.STATUS_COMMANDS)
    assert status["AT+CBC"] is None
    assert status["AT+CSQ"]["form"] == "ResultSignal"
    assert status["AT+CREG?"]["state"] == 1
    assert status["AT+CGMI"]["text"].startswith("Velkport")


# ---- failures


def test_a_missing_device_is_a_link_error_with_its_errno(tmp_path) -> None:
    with pytest.raises(velkport.LinkError) as raised:
        with velkport.Phone(tmp_path / "no-such-device"):
            pass
    assert raised.value.code == errno.ENOENT and raised.value.text


@pytest.mark.parametrize(
    ("refusal", "call", "kind", "code", "text"),
    [
        ("AT+RNGR==+CME ERROR: 22", lambda p: p.read_tone(1), velkport.PhoneRefused, 22,
         "+CME ERROR: 22"),
        ("AT+RNGI", lambda p: p.tone_info(), velkport.PhoneRefused, 0, "ERROR"),
        ("AT+IMGW=", lambda p: p.write_image(1, "x", ["0" * 1536]), velkport.PhoneRefused, 0,
         "ERROR"),
        ("AT+CSQ=+CME ERROR: 30", lambda p: p.run(["AT+CGMI", "AT+CSQ"]), velkport.PhoneRefused, 30,
         "command 1: +CME ERROR: 30"),
    ],
)
def test_the_phone_s_error_comes_as_an_exception_with_its_number(
    start_phone, refusal, call, kind, code, text
) -> None:
    sim = start_phone("--refuse", refusal)
    with velkport.Phone(sim.device) as phone:
        with pytest.raises(kind) as raised:
            call(phone)
        # The link stays usable after a refusal.
        assert phone.run("AT+CGMM")[0]["form"]
    assert (raised.value.code, raised.value.text) == (code, text)


def test_a_refused_opening_is_an_opening_refused(start_phone) -> None:
    sim = start_phone("--refuse", "ATE0")
    with velkport.Phone(sim.device) as phone:
        with pytest.raises(velkport.OpeningRefused) as raised:
            phone.image_info()
    assert (raised.value.code, raised.value.message) == (0, 1140)


def test_a_refused_run_keeps_the_blocks_drawn_before(start_phone) -> None:
    sim = start_phone("--refuse", "AT+CBC=+CME ERROR: 30")
    with velkport.Phone(sim.device) as phone:
        with pytest.raises(velkport.PhoneRefused) as raised:
            phone.run(["AT+CSQ", "AT+CBC"])
    assert [block["form"] for block in raised.value.results][0] == "ResultSignal"


@pytest.mark.parametrize(
    ("texts", "code"),
    [("AT+NOSUCH", -2), ([], -3), (["AT+CSQ"] * 65, -3)],
)
def test_a_run_the_library_refuses_is_a_request_refused(sim, texts, code) -> None:
    with velkport.Phone(sim.device) as phone:
        with pytest.raises(velkport.RequestRefused) as raised:
            phone.run(texts)
    assert raised.value.code == code and raised.value.text


def test_an_image_the_phone_does_not_list_is_refused(sim) -> None:
    with velkport.Phone(sim.device) as phone:
        with pytest.raises(velkport.PhoneRefused) as raised:
            phone.read_image(9)
    assert raised.value.code == -1 and raised.value.message == 1146


def test_a_hung_up_line_ends_the_operation_with_a_timeout(start_phone) -> None:
    # AT, ATE0, then the read: the phone hangs up at the third line.
    sim = start_phone("--hangup-after", "3")
    with velkport.Phone(sim.device) as phone:
        with pytest.raises((velkport.PhoneTimeout, velkport.LinkError)) as raised:
            phone.tone_info()
    assert raised.value.text


@pytest.mark.parametrize(
    "call",
    [
        lambda p: p.write_tone(1, "eleven char", b"x"),
        lambda p: p.write_tone(300, "x", b"x"),
        lambda p: p.write_tone(1, "x", "t\0ne"),
        lambda p: p.write_image(1, "x", ["00" * 10]),
        lambda p: p.write_image(1, "x", []),
        lambda p: p.read_image(0),
    ],
)
def test_bad_arguments_are_refused_before_the_phone_is_asked(sim, call) -> None:
    with velkport.Phone(sim.device, flow="xonxoff") as phone:
        with pytest.raises(ValueError):
            call(phone)
        assert phone.tone_info().name


def test_one_link_a_process(sim) -> None:
    with velkport.Phone(sim.device):
        with pytest.raises(velkport.LinkError):
            velkport.Phone(sim.device).open()
    with pytest.raises(velkport.LinkError):
        velkport.Phone(sim.device).tone_info()
    with velkport.Phone(sim.device) as again:
        assert again.tone_info().name
