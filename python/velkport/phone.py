"""The blocking Phone: each call waits for the library's window message
that ends its operation."""

from __future__ import annotations

import os
import select
import struct
import time
from types import TracebackType
from typing import Any, Callable, Optional, Sequence, TypeVar

from . import _native as n
from . import _operations as op
from ._link import Link, PathText
from .errors import LinkError
from .records import Image, ImageInfo, Tone, ToneData, ToneInfo

T = TypeVar("T")

MESSAGE_SIZE = 16
_MESSAGE = struct.Struct("=IIq")

Progress = Callable[[int], None]


def read_message(window: int) -> Optional[int]:
    """One window message from the pipe, or None when the library let go of
    it (the link ended)."""
    while True:
        try:
            data = os.read(window, MESSAGE_SIZE)
        except InterruptedError:
            continue
        # A message is written with one write() of fewer than PIPE_BUF bytes:
        # it arrives whole.
        if len(data) != MESSAGE_SIZE:
            return None
        return _MESSAGE.unpack(data)[0]


def link_lost(doing: str) -> LinkError:
    return LinkError(-1, "the link ended: the library let go of the window", doing=doing)


class Phone:
    """A phone on a serial device, reached through libvelkport.

    Use it in a with statement, which starts the link and ends it::

        with velkport.Phone("/dev/ttyUSB0") as phone:
            print(phone.tone_info())

    ``flow`` is "rtscts" or "xonxoff". With ``notices=True`` the library
    keeps what the phone sends of its own accord for ``notices()``.
    Failures raise a VelkportError; each call runs one operation at a time
    and returns when it has ended. The library holds one link a process.
    """

    def __init__(
        self,
        device: PathText,
        baud: int = 115200,
        flow: str = "rtscts",
        *,
        notices: bool = False,
    ) -> None:
        self._link = Link(device, baud, flow, notices)
        self._unfinished: Optional[str] = None
        self.notices_dropped = 0
        self.on_progress: Optional[Progress] = None

    # ---- the link

    def open(self) -> "Phone":
        """Starts the link (the with statement does this)."""
        self._link.begin()
        return self

    def close(self) -> None:
        """Ends the link (the with statement does this)."""
        self._link.end()

    def __enter__(self) -> "Phone":
        return self.open()

    def __exit__(
        self,
        kind: Optional[type[BaseException]],
        value: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    @property
    def device(self) -> str:
        return self._link.device

    # ---- the driver

    def _drive(self, operation: op.Operation[T]) -> T:
        window = self._link.require()
        if self._unfinished is not None:
            # A call interrupted while it waited (Ctrl-C) left its operation
            # running in the library: its end comes first.
            self._wait_end(window, self._unfinished)
        try:
            request = next(operation)
            while True:
                self._ask(request)
                request = operation.send(self._wait_end(window, request.doing))
        except StopIteration as done:
            return done.value

    @staticmethod
    def _ask(request: op.Request) -> None:
        give_up = time.monotonic() + op.REQUEST_RETRY_SECONDS
        while request.start() != 1:
            refused = op.refusal(request)
            if refused is not None:
                raise refused
            if time.monotonic() > give_up:
                raise op.not_taken(request)
            time.sleep(op.REQUEST_RETRY_PAUSE)

    def _wait_end(self, window: int, doing: str) -> int:
        self._unfinished = doing
        while True:
            message = read_message(window)
            if message is None:
                self._unfinished = None
                raise link_lost(doing)
            if message in n.FINAL_MESSAGES:
                self._unfinished = None
                return message
            # A notice waits in the library for notices(); a progress
            # message says one frame went by.
            if message != n.MSG_NOTICE and self.on_progress is not None:
                self.on_progress(message)

    # ---- ring tones

    def tone_info(self) -> ToneInfo:
        """The ring-tone information."""
        return self._drive(op.tone_info())

    def tone(self, slot: int) -> Tone:
        """The ring tone in `slot`, with its name."""
        return self._drive(op.read_tone(slot))

    def read_tone(self, slot: int) -> ToneData:
        """The ring tone in `slot`: bytes when its text is hexadecimal (a
        MIDI file, as the simulated phone keeps them), else the text as a
        str (see velkport.records.tone_data)."""
        return self.tone(slot).data

    def write_tone(self, slot: int, name: str, data: ToneData) -> None:
        """Writes a ring tone into `slot`: bytes go as uppercase hexadecimal
        digits, a str as it is. `name` has at most 10 characters."""
        self._drive(op.write_tone(slot, name, data))

    # ---- images

    def image_info(self) -> ImageInfo:
        """The image information, with the images' frame ranges."""
        return self._drive(op.image_info())

    def image(self, number: int) -> Image:
        """Image `number` (from 1) with its name and frame parameters."""
        return self._drive(op.read_image(number))

    def read_image(self, number: int) -> list[str]:
        """The frames of image `number` (from 1), each 1536 hexadecimal
        characters."""
        return self.image(number).frames

    def write_image(
        self,
        number: int,
        name: str,
        frames: Sequence[str],
        param_first: int = 25,
        param_last: int = 0,
    ) -> None:
        """Writes image `number` from its frames, each 1536 characters;
        `param_first` and `param_last` are the frame parameter's first and
        last value."""
        self._drive(op.write_image(number, name, frames, param_first, param_last))

    # ---- the whole engine

    def run(self, text: op.Texts, body: Optional[str] = None) -> list[dict[str, Any]]:
        """Runs one catalogue command ("AT+CSQ") or a list of them as one
        operation; the result blocks they drew, each with "command", the
        place of its command in the list. With `body`, the one command is
        AT+CMGS= or AT+CMGW= and `body` the message text."""
        return self._drive(op.run(text, body))

    def contacts(self, storage: str = "SM") -> list[dict[str, Any]]:
        """The entries of phone book `storage`, one result block each."""
        return self._drive(op.contacts(storage))

    def messages(self, state: str = "ALL") -> list[dict[str, Any]]:
        """The stored messages of `state` ("ALL", "REC UNREAD"...) in text
        mode, one result block each."""
        return self._drive(op.messages(state))

    def status(self) -> dict[str, Optional[dict[str, Any]]]:
        """The phone's identity, signal, battery, registration and operator:
        each command's text with its result block, None where the phone
        refused it."""
        return self._drive(op.status())

    def notices(self, wait: Optional[float] = None) -> list[dict[str, Any]]:
        """The notices kept since the last call, oldest first (the Phone
        must be made with notices=True). With `wait`, when none is kept,
        first waits up to that many seconds for one to be announced."""
        window = self._link.require()
        kept = op.take_notices(self)
        if kept or wait is None:
            return kept
        deadline = time.monotonic() + wait
        while True:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([window], [], [], left)[0]:
                return kept
            message = read_message(window)
            if message is None:
                raise link_lost("waiting for notices")
            if message == n.MSG_NOTICE:
                kept = op.take_notices(self)
                if kept:
                    return kept
