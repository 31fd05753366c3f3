"""The C interface of libvelkport through ctypes: the library, its records
and the window messages, as include/velkport.h declares them."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
from typing import Optional

# Window messages.
MSG_MID_INFO_REFUSED = 1133
MSG_MID_READ_REFUSED = 1134
MSG_MID_WRITE_REFUSED = 1135
MSG_MID_INFO_READ = 1136
MSG_MID_READ = 1137
MSG_MID_WRITTEN = 1138
MSG_TIMED_OUT = 1139
MSG_OPENING_REFUSED = 1140
MSG_ANIM_WRITTEN = 1141
MSG_ANIM_WRITE_REFUSED = 1142
MSG_ANIM_INFO_REFUSED = 1143
MSG_ANIM_INFO_READ = 1144
MSG_ANIM_READ = 1145
MSG_ANIM_READ_REFUSED = 1146
MSG_ANIM_WRITE_PROGRESS = 1224
MSG_ANIM_READ_PROGRESS = 1225
MSG_COMMAND_DONE = 1147
MSG_COMMAND_REFUSED = 1148
MSG_NOTICE = 1226

# The messages that end an operation; the progress messages and the notice
# announcement come in between.
FINAL_MESSAGES = frozenset(range(MSG_MID_INFO_REFUSED, MSG_ANIM_READ_REFUSED + 1)) | {
    MSG_COMMAND_DONE,
    MSG_COMMAND_REFUSED,
}

ERR_COMMAND_TEXT = -2
ERR_COMMAND_LIST = -3
ERR_MESSAGE_BODY = -4
ERR_LINK_BUSY = -5

# The port number a named device is mapped to.
MAPPED_PORT = 1
# Characters of one image frame.
FRAME_LENGTH = 1536
# The most catalogue commands one run takes.
MOST_COMMANDS = 64


class VelkWindowMessage(ctypes.Structure):
    _fields_ = [
        ("message", ctypes.c_uint32),
        ("wParam", ctypes.c_uint32),
        ("lParam", ctypes.c_int64),
    ]


class MidInfoRecord(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char * 10),
        ("infoNumber2", ctypes.c_uint16),
        ("infoNumber1", ctypes.c_uint16),
        ("infoNumber3", ctypes.c_uint16),
    ]


class MidRecord(ctypes.Structure):
    _fields_ = [
        ("id", ctypes.c_uint8),
        ("nameLength", ctypes.c_uint16),
        ("name", ctypes.c_char * 10),
        ("size", ctypes.c_uint16),
        ("data", ctypes.POINTER(ctypes.c_uint8)),
    ]


class AnimInfoRecord(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char * 20),
        ("nameLength", ctypes.c_uint16),
        ("infoNumber1", ctypes.c_uint16),
        ("infoNumber2", ctypes.c_uint16),
        ("infoNumber3", ctypes.c_uint16),
        ("infoNumber4", ctypes.c_uint16),
        ("infoNumber5", ctypes.c_uint16),
        ("frameRanges", ctypes.POINTER(ctypes.c_uint16)),
        ("frameRangeCount", ctypes.c_uint8),
    ]


class AnimRecord(ctypes.Structure):
    _fields_ = [
        ("id", ctypes.c_uint8),
        ("nameLength", ctypes.c_uint8),
        ("name", ctypes.c_char * 10),
        ("size", ctypes.c_uint16),
        ("data", ctypes.POINTER(ctypes.c_uint8)),
        ("animParamFirst", ctypes.c_uint8),
        ("animParamLast", ctypes.c_uint8),
    ]


_i32 = ctypes.c_int32
_int = ctypes.c_int
_u8 = ctypes.c_uint8
_text = ctypes.c_char_p
_text_out = ctypes.POINTER(ctypes.c_char_p)

# Every export with its result and argument types, set before first use.
_PROTOTYPES: dict[str, tuple[object, list[object]]] = {
    "velk_BeginThread": (_i32, [ctypes.c_int, _u8, ctypes.c_uint32, _i32]),
    "velk_EndThread": (_i32, []),
    "velk_CancelCurrentAction": (_i32, []),
    "velk_ReadMidInfo": (_i32, []),
    "velk_GetMidInfo": (_i32, [ctypes.POINTER(ctypes.POINTER(MidInfoRecord))]),
    "velk_ReadMid": (_i32, [_u8]),
    "velk_GetMidData": (_i32, [ctypes.POINTER(ctypes.POINTER(MidRecord))]),
    "velk_WriteMid": (_i32, [MidRecord]),
    "velk_ReadAnimInfo": (_i32, []),
    "velk_GetAnimInfo": (_i32, [ctypes.POINTER(ctypes.POINTER(AnimInfoRecord))]),
    "velk_ReadAnim": (_i32, [_u8]),
    "velk_GetAnimData": (_i32, [ctypes.POINTER(ctypes.POINTER(AnimRecord))]),
    "velk_WriteAnim": (_i32, [AnimRecord]),
    "velk_SetPortDevice": (_i32, [_u8, _text]),
    "velk_GetVersion": (_text, []),
    "velk_GetLastError": (_int, [_text_out]),
    "velk_RunCommands": (_int, [ctypes.POINTER(ctypes.c_char_p), _int]),
    "velk_RunCommand": (_int, [_text]),
    "velk_RunCommandWithBody": (_int, [_text, _text]),
    "velk_GetCommandResult": (_int, [_text_out]),
    "velk_EnableNotices": (_int, [_int]),
    "velk_GetNotices": (_int, [_text_out]),
}

LIBRARY_NAME = "libvelkport.so.1"

_library: Optional[ctypes.CDLL] = None


def _load() -> ctypes.CDLL:
    from .errors import LibraryNotFound

    path = os.environ.get("VELKPORT_LIBRARY") or LIBRARY_NAME
    try:
        library = ctypes.CDLL(path)
    except OSError as error:
        where = (
            "VELKPORT_LIBRARY names " + path
            if os.environ.get("VELKPORT_LIBRARY")
            else "the loader's search path holds no " + LIBRARY_NAME
        )
        raise LibraryNotFound(
            -1,
            f"libvelkport could not be loaded ({where}: {error}); install it, "
            "or name the library file in VELKPORT_LIBRARY",
        ) from None
    for name, (result, arguments) in _PROTOTYPES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise LibraryNotFound(
                -1,
                f"{path} has no {name}: it is older than libvelkport 1.1.0, "
                "which this package needs",
            ) from None
        function.restype = result
        function.argtypes = arguments
    return library


def library() -> ctypes.CDLL:
    """The loaded library, loaded on first use: the file that
    VELKPORT_LIBRARY names, or libvelkport.so.1 from the loader's search
    path."""
    global _library
    if _library is None:
        _library = _load()
    return _library


def last_error() -> tuple[int, str]:
    """velk_GetLastError: the number and the line of text."""
    text = ctypes.c_char_p()
    code = library().velk_GetLastError(ctypes.byref(text))
    return int(code), (text.value or b"").decode("utf-8", "replace")


def held_text(getter: str) -> Optional[str]:
    """The JSON text a velk_Get... call hands out, copied; None when it
    hands out nothing."""
    text = ctypes.c_char_p()
    if getattr(library(), getter)(ctypes.byref(text)) != 1 or text.value is None:
        return None
    return text.value.decode("utf-8", "replace")
