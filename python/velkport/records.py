"""What the phone's ring tones and images come back as."""

from __future__ import annotations

import string
from dataclasses import dataclass, field
from typing import Union

ToneData = Union[bytes, str]

_HEX_DIGITS = frozenset(string.hexdigits)


def tone_data(text: bytes) -> ToneData:
    """A tone's text as the phone keeps it, as Python gives it back: a text
    of hexadecimal digit pairs (the simulated phone's tones are MIDI files
    written so) becomes the bytes it spells, as ``velkport tone-get -o
    FILE.mid`` saves them; any other text stays a str, each byte one
    character (Latin-1), so that every byte comes back unchanged."""
    if text and len(text) % 2 == 0 and all(chr(byte) in _HEX_DIGITS for byte in text):
        return bytes.fromhex(text.decode("ascii"))
    return text.decode("latin-1")


def tone_text(data: ToneData) -> bytes:
    """The text to send for a tone: bytes as uppercase hexadecimal digits, a
    str as its Latin-1 bytes (the inverse of tone_data)."""
    if isinstance(data, (bytes, bytearray, memoryview)):
        return bytes(data).hex().upper().encode("ascii")
    if isinstance(data, str):
        try:
            return data.encode("latin-1")
        except UnicodeEncodeError:
            raise ValueError(
                "a tone's text holds only characters of Latin-1; "
                "give bytes for anything else"
            ) from None
    raise TypeError(f"a tone is bytes or str, not {type(data).__name__}")


@dataclass(frozen=True)
class ToneInfo:
    """The ring-tone information: a name and three numbers, passed through
    from the phone as it states them (``velkport tones`` prints them as
    value 1 to 3)."""

    name: str
    values: tuple[int, int, int]


@dataclass(frozen=True)
class Tone:
    """The ring tone in one slot."""

    slot: int
    name: str
    data: ToneData


@dataclass(frozen=True)
class ImageRange:
    """Where one image lies in the phone's run of frames."""

    frames: int
    first_frame: int


@dataclass(frozen=True)
class ImageInfo:
    """The image information: a name, five numbers (the fourth and fifth
    are a frame's width and height in dots) and the images the phone
    stores, image n at ``images[n - 1]``."""

    name: str
    values: tuple[int, int, int, int, int]
    images: list[ImageRange] = field(default_factory=list)

    @property
    def width(self) -> int:
        return self.values[3]

    @property
    def height(self) -> int:
        return self.values[4]


@dataclass(frozen=True)
class Image:
    """One image: its frames as the phone sends them, 1536 hexadecimal
    characters each, and the first and last value of the frame parameter
    it was written with."""

    number: int
    name: str
    frames: list[str]
    param_first: int
    param_last: int
