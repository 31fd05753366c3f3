"""The operations of a Phone, written once for the blocking and the asyncio
Phone. Each is a generator: it yields a Request (the velk_ call that asks
the library for one operation), gets back the window message that ended
it, and returns the result or raises. A driver (phone.py, aio.py) makes
the calls and waits for the messages in its own way."""

from __future__ import annotations

import ctypes
import json
import re
from dataclasses import dataclass
from typing import Any, Callable, Generator, Optional, Protocol, Sequence, TypeVar, Union

from . import _native as n
from .errors import OpeningRefused, PhoneRefused, PhoneTimeout, RequestRefused, VelkportError
from .records import Image, ImageInfo, ImageRange, Tone, ToneData, ToneInfo, tone_data, tone_text

T = TypeVar("T")


@dataclass
class Request:
    """One operation to ask the library for. ``start`` returns the export's
    1 or 0; ``commands`` marks a run of catalogue commands, whose refusal
    velk_GetLastError explains."""

    start: Callable[[], int]
    doing: str
    commands: bool = False


Operation = Generator[Request, int, T]

# A refusal of a run that waiting cannot mend: a text or list the library
# does not take.
PERMANENT_REFUSALS = (n.ERR_COMMAND_TEXT, n.ERR_COMMAND_LIST, n.ERR_MESSAGE_BODY)
# How long a refused request is asked again: right after the message that
# ends an image operation the library takes a moment to be ready again.
REQUEST_RETRY_SECONDS = 2.0
REQUEST_RETRY_PAUSE = 0.001


def refusal(request: Request) -> Optional[VelkportError]:
    """The exception for a request the library did not take, or None when
    it may be asked again."""
    if not request.commands:
        return None
    code, text = n.last_error()
    if code in PERMANENT_REFUSALS:
        return RequestRefused(code, text, doing=request.doing)
    return None


def not_taken(request: Request) -> VelkportError:
    """The exception for a request still refused after the retries."""
    code, text = n.last_error() if request.commands else (0, "")
    if code != n.ERR_LINK_BUSY:
        code, text = n.ERR_LINK_BUSY, "no link stands, or another operation runs"
    return RequestRefused(code, text, doing=request.doing)


def failure(
    message: int, doing: str, results: Optional[list[dict[str, Any]]] = None
) -> VelkportError:
    """The exception for an operation that ended with `message`."""
    code, text = n.last_error()
    if message == n.MSG_TIMED_OUT:
        return PhoneTimeout(code, text, message, results, doing)
    if message == n.MSG_OPENING_REFUSED:
        return OpeningRefused(code, text, message, results, doing)
    return PhoneRefused(code, text, message, results, doing)


def expect(message: int, wanted: int, doing: str) -> None:
    if message != wanted:
        raise failure(message, doing)


def _byte_range(value: int, what: str, low: int = 0, high: int = 255) -> int:
    if not isinstance(value, int) or isinstance(value, bool) or not low <= value <= high:
        raise ValueError(f"{what} is a number from {low} to {high}, not {value!r}")
    return value


def _name_bytes(name: str) -> bytes:
    encoded = name.encode("latin-1") if isinstance(name, str) else None
    if encoded is None or len(encoded) > 10:
        raise ValueError(f"a name is a text of at most 10 characters, not {name!r}")
    return encoded


def _fixed_text(raw: bytes, length: int) -> str:
    return raw[: min(length, len(raw))].decode("latin-1")


def _fetch(getter: Callable[[Any], int], kind: Any, what: str) -> Any:
    """The record a read left with the library, through its fetch export."""
    pointer = ctypes.POINTER(kind)()
    if getter(ctypes.byref(pointer)) != 1 or not pointer:
        raise VelkportError(-1, f"the library held no {what} after reading it")
    return pointer.contents


def tone_info() -> Operation[ToneInfo]:
    doing = "reading the ring-tone information"
    expect((yield Request(n.library().velk_ReadMidInfo, doing)), n.MSG_MID_INFO_READ, doing)
    record = _fetch(n.library().velk_GetMidInfo, n.MidInfoRecord, "ring-tone information")
    # The name fills all ten bytes or ends with a zero byte.
    name = bytes(record.name).split(b"\0", 1)[0].decode("latin-1")
    return ToneInfo(name, (record.infoNumber1, record.infoNumber2, record.infoNumber3))


def read_tone(slot: int) -> Operation[Tone]:
    _byte_range(slot, "a slot")
    doing = f"reading the tone in slot {slot}"
    library = n.library()
    expect((yield Request(lambda: library.velk_ReadMid(slot), doing)), n.MSG_MID_READ, doing)
    record = _fetch(library.velk_GetMidData, n.MidRecord, "tone")
    text = ctypes.string_at(record.data, record.size) if record.data else b""
    return Tone(slot, _fixed_text(bytes(record.name), record.nameLength), tone_data(text))


# A tone's text is below this many characters.
TONE_TEXT_LIMIT = 32512


def write_tone(slot: int, name: str, data: ToneData) -> Operation[None]:
    _byte_range(slot, "a slot")
    encoded_name = _name_bytes(name)
    text = tone_text(data)
    if len(text) >= TONE_TEXT_LIMIT:
        raise ValueError(
            f"a tone's text is below {TONE_TEXT_LIMIT} characters; this one has {len(text)}"
        )
    if b"\0" in text:
        raise ValueError("a tone's text holds no zero byte; give the tone as bytes")
    buffer = ctypes.create_string_buffer(text, len(text))
    record = n.MidRecord(
        id=slot,
        nameLength=len(encoded_name),
        name=encoded_name,
        size=len(text),
        data=ctypes.cast(buffer, ctypes.POINTER(ctypes.c_uint8)),
    )
    doing = f"writing the tone into slot {slot}"
    library = n.library()
    expect((yield Request(lambda: library.velk_WriteMid(record), doing)), n.MSG_MID_WRITTEN, doing)


def image_info() -> Operation[ImageInfo]:
    doing = "reading the image information"
    library = n.library()
    expect((yield Request(library.velk_ReadAnimInfo, doing)), n.MSG_ANIM_INFO_READ, doing)
    record = _fetch(library.velk_GetAnimInfo, n.AnimInfoRecord, "image information")
    ranges = list(record.frameRanges[: record.frameRangeCount]) if record.frameRanges else []
    images = [ImageRange(ranges[i], ranges[i + 1]) for i in range(0, len(ranges) - 1, 2)]
    values = (
        record.infoNumber1,
        record.infoNumber2,
        record.infoNumber3,
        record.infoNumber4,
        record.infoNumber5,
    )
    name = bytes(record.name).split(b"\0", 1)[0].decode("latin-1")
    return ImageInfo(name, values, images)


def read_image(number: int) -> Operation[Image]:
    _byte_range(number, "an image number", 1)
    # The library reads an image only right after the image information.
    yield from image_info()
    doing = f"reading image {number}"
    library = n.library()
    expect((yield Request(lambda: library.velk_ReadAnim(number), doing)), n.MSG_ANIM_READ, doing)
    record = _fetch(library.velk_GetAnimData, n.AnimRecord, "image")
    text = ctypes.string_at(record.data, record.size).decode("latin-1") if record.data else ""
    # A shorter rest, when the phone sent one, is the last item.
    frames = [text[i : i + n.FRAME_LENGTH] for i in range(0, len(text), n.FRAME_LENGTH)]
    name = _fixed_text(bytes(record.name), record.nameLength)
    return Image(number, name, frames, record.animParamFirst, record.animParamLast)


# Characters of an image in one record: its size is a 16-bit count.
MOST_FRAMES = 0xFFFF // n.FRAME_LENGTH


def write_image(
    number: int, name: str, frames: Sequence[str], param_first: int = 25, param_last: int = 0
) -> Operation[None]:
    _byte_range(number, "an image number", 1)
    _byte_range(param_first, "param_first")
    _byte_range(param_last, "param_last")
    encoded_name = _name_bytes(name)
    if isinstance(frames, str) or not 1 <= len(frames) <= MOST_FRAMES:
        raise ValueError(f"an image is a list of 1 to {MOST_FRAMES} frames")
    for place, frame in enumerate(frames, 1):
        if not isinstance(frame, str) or len(frame) != n.FRAME_LENGTH or not frame.isascii():
            raise ValueError(
                f"frame {place} is no text of {n.FRAME_LENGTH} characters "
                f"(it has {len(frame) if isinstance(frame, str) else type(frame).__name__})"
            )
    text = "".join(frames).encode("ascii")
    buffer = ctypes.create_string_buffer(text, len(text))
    record = n.AnimRecord(
        id=number,
        nameLength=len(encoded_name),
        name=encoded_name,
        size=len(text),
        data=ctypes.cast(buffer, ctypes.POINTER(ctypes.c_uint8)),
        animParamFirst=param_first,
        animParamLast=param_last,
    )
    # The library writes an image only right after the image information.
    yield from image_info()
    doing = f"writing image {number}"
    library = n.library()
    message = yield Request(lambda: library.velk_WriteAnim(record), doing)
    expect(message, n.MSG_ANIM_WRITTEN, doing)


Texts = Union[str, Sequence[str]]


def _command_result() -> list[dict[str, Any]]:
    text = n.held_text("velk_GetCommandResult")
    return json.loads(text) if text else []


def run(texts: Texts, body: Optional[str] = None) -> Operation[list[dict[str, Any]]]:
    listed = [texts] if isinstance(texts, str) else list(texts)
    for text in listed:
        if not isinstance(text, str):
            raise TypeError(f"a command is a str, not {type(text).__name__}")
    encoded = [text.encode("utf-8") for text in listed]
    library = n.library()
    if body is not None:
        if len(encoded) != 1:
            raise ValueError("a message body goes with exactly one command")
        body_bytes = body.encode("utf-8")
        start: Callable[[], int] = lambda: library.velk_RunCommandWithBody(encoded[0], body_bytes)
    else:
        array = (ctypes.c_char_p * max(len(encoded), 1))(*encoded)
        start = lambda: library.velk_RunCommands(array, len(encoded))
    doing = "running " + ", ".join(listed) if listed else "running no command"
    message = yield Request(start, doing, commands=True)
    if message == n.MSG_COMMAND_DONE:
        return _command_result()
    results = _command_result() if message in (n.MSG_COMMAND_REFUSED, n.MSG_TIMED_OUT) else []
    raise failure(message, doing, results)


# The phone's identity and its state on the network, one command each.
STATUS_COMMANDS = (
    "AT+CGMI",
    "AT+CGMM",
    "AT+CGMR",
    "AT+CGSN",
    "AT+CIMI",
    "AT+CSQ",
    "AT+CBC",
    "AT+CREG?",
    "AT+COPS?",
)


def status() -> Operation[dict[str, Optional[dict[str, Any]]]]:
    """Each status command with the result block it drew (a ResultError
    block where the library could not read the answer); None for a command
    the phone refused, after which the others still run."""
    answers: dict[str, Optional[dict[str, Any]]] = {text: None for text in STATUS_COMMANDS}
    start = 0
    while start < len(STATUS_COMMANDS):
        texts = STATUS_COMMANDS[start:]
        try:
            blocks = yield from run(texts)
            refused = len(texts)
        except PhoneRefused as error:
            if error.message != n.MSG_COMMAND_REFUSED:
                raise
            blocks = error.results
            refused = _refused_place(error.text, len(texts))
        for block in blocks:
            place = block.get("command")
            if isinstance(place, int) and place < refused and answers[texts[place]] is None:
                answers[texts[place]] = block
        start += refused + 1
    return answers


def _refused_place(text: str, count: int) -> int:
    # The library's "command <n>: <the phone's line>".
    head, _, _ = text.partition(": ")
    if head.startswith("command ") and head[8:].isdigit():
        return min(int(head[8:]), count - 1)
    return count - 1


def contacts(storage: str = "SM") -> Operation[list[dict[str, Any]]]:
    """Every entry of a phone book: its locations asked for with AT+CPBR=?,
    then read in one ranged AT+CPBR."""
    if not storage.isalnum():
        raise ValueError(f"a phone book is named by letters, such as SM or ME, not {storage!r}")
    chosen = f'AT+CPBS="{storage}"'
    blocks = yield from run([chosen, "AT+CPBR=?"])
    first, last = _locations(blocks)
    if last < first:
        return []
    entries = yield from run([chosen, f"AT+CPBR={first},{last}"])
    return [block for block in entries if block.get("command") == 1]


def _locations(blocks: list[dict[str, Any]]) -> tuple[int, int]:
    # +CPBR: (<first>-<last>),<nlength>,<tlength>, the range as "(1-250)".
    for block in blocks:
        if block.get("form") == "ResultPhonebookReadRange":
            found = re.fullmatch(r"\(\s*(\d+)\s*-\s*(\d+)\s*\)", str(block.get("indexRange", "")))
            if found:
                return int(found.group(1)), int(found.group(2))
    raise PhoneRefused(
        -1,
        "the phone gave no range of phone-book locations to AT+CPBR=?",
        doing="reading the phone book",
    )


def messages(state: str = "ALL") -> Operation[list[dict[str, Any]]]:
    """The stored messages in text mode: AT+CMGF=1, then AT+CMGL. The phone
    sends each as a header line and the text on the lines after it; the
    library reads them as a ResultListHeader and a ResultListBody block, and
    each message here is the header's dict with the text as "body".

    The list is read in the phone's present character set, where a phone
    puts "?" for a character it cannot carry. Where a text came so and the
    phone offers UCS2, the texts are read once more in UCS2 and replace
    those they carry whole: the library holds 83 bytes of a text line, 20
    characters in UCS2 hex. The phone is then put back in its former set."""
    if '"' in state:
        raise ValueError(f"a message state holds no quote: {state!r}")
    blocks = yield from run(["AT+CMGF=1", f'AT+CMGL="{state}"'])
    listed = _listed(blocks, 1, lambda body: body)
    if not any("?" in message["body"] for message in listed):
        return listed
    former, ucs2 = yield from _character_sets()
    if not ucs2:
        return listed
    back = [f'AT+CSCS="{former}"'] if former and former != "UCS2" else []
    try:
        # "ALL": the first list has made its unread messages read.
        blocks = yield from run(['AT+CSCS="UCS2"', 'AT+CMGL="ALL"', *back])
    except PhoneRefused as refused:
        if isinstance(refused, OpeningRefused):
            raise
        if back:
            yield from run(back)
        return listed
    whole = {m["index"]: m for m in _listed(blocks, 1, _from_ucs2) if m["body"] is not None}
    for message in listed:
        if "?" in message["body"] and message["index"] in whole:
            message["body"] = whole[message["index"]]["body"]
    return listed


def _listed(
    blocks: list[dict[str, Any]], command: int, text: Callable[[str], Optional[str]]
) -> list[dict[str, Any]]:
    # Each header with the text of the body lines after it; a text that
    # `text` cannot read makes the body None.
    listed: list[dict[str, Any]] = []
    for block in blocks:
        if block.get("command") != command:
            continue
        if block.get("form") == "ResultListBody" and listed:
            line = text(str(block.get("body", "")))
            body = listed[-1]["body"]
            if line is None or body is None:
                listed[-1]["body"] = None
            else:
                listed[-1]["body"] = body + line.rstrip("\r\n")
        elif block.get("form") != "ResultListBody":
            listed.append(dict(block))
    return listed


def _from_ucs2(line: str) -> Optional[str]:
    # A UCS2 text line: four hexadecimal digits a UTF-16 unit; None when the
    # library's field cut it (it keeps its carriage return when it fits).
    hex_digits = line.rstrip("\r\n")
    if len(line) >= 83 and not line.endswith("\r"):
        return None
    if len(hex_digits) % 4 or not re.fullmatch(r"[0-9A-Fa-f]*", hex_digits):
        return line
    return bytes.fromhex(hex_digits).decode("utf-16-be", errors="replace")


def _character_sets() -> Operation[tuple[str, bool]]:
    # The phone's present set, and whether it offers UCS2; a phone that
    # refuses to tell has no UCS2 here.
    try:
        blocks = yield from run(["AT+CSCS?", "AT+CSCS=?"])
    except PhoneRefused as refused:
        if isinstance(refused, OpeningRefused):
            raise
        blocks = refused.results
    former = ""
    ucs2 = False
    for block in blocks:
        if block.get("form") == "ResultCharacterSet":
            former = str(block.get("characterSet", ""))
        elif block.get("form") == "ResultCharacterSets":
            ucs2 = "UCS2" in re.findall(r"\w+", str(block.get("characterSets", "")).upper())
    return former, ucs2


class NoticeCount(Protocol):
    notices_dropped: int


def take_notices(phone: NoticeCount) -> list[dict[str, Any]]:
    """The notices kept, oldest first, as velk_GetNotices hands them over;
    those the library dropped are counted in the phone's notices_dropped."""
    text = n.held_text("velk_GetNotices")
    held = json.loads(text) if text else {}
    phone.notices_dropped += int(held.get("dropped", 0))
    return list(held.get("notices", []))
