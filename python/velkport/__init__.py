"""Velkport for Python: the ring tones and images of a mobile phone on a
serial port, and the library's whole AT engine, through libvelkport.

The library is loaded with ctypes on first use: the file that the
environment variable VELKPORT_LIBRARY names, or else libvelkport.so.1 from
the loader's search path. ``velkport.Phone`` blocks until each operation
ends; ``velkport.aio.Phone`` offers the same calls as coroutines.
"""

from __future__ import annotations

from . import _native
from .errors import (
    LibraryNotFound,
    LinkError,
    OpeningRefused,
    PhoneRefused,
    PhoneTimeout,
    RequestRefused,
    VelkportError,
)
from .phone import Phone
from .records import Image, ImageInfo, ImageRange, Tone, ToneData, ToneInfo

__version__ = "1.1.0"


def library_version() -> str:
    """The version of the libvelkport that is loaded, e.g. "1.1.0"."""
    return (_native.library().velk_GetVersion() or b"").decode("ascii", "replace")


__all__ = [
    "Image",
    "ImageInfo",
    "ImageRange",
    "LibraryNotFound",
    "LinkError",
    "OpeningRefused",
    "Phone",
    "PhoneRefused",
    "PhoneTimeout",
    "RequestRefused",
    "Tone",
    "ToneData",
    "ToneInfo",
    "VelkportError",
    "library_version",
]
