"""The asyncio Phone: the same calls as velkport.Phone, as coroutines. The
window descriptor is watched with loop.add_reader, so an operation waits
in the event loop, without a thread::

    async with velkport.aio.Phone("/dev/ttyUSB0") as phone:
        info = await phone.tone_info()
"""

from __future__ import annotations

import asyncio
import os
import time
from types import TracebackType
from typing import Any, Optional, Sequence, TypeVar

from . import _native as n
from . import _operations as op
from ._link import Link, PathText
from .errors import VelkportError
from .phone import MESSAGE_SIZE, Progress, _MESSAGE, link_lost
from .records import Image, ImageInfo, Tone, ToneData, ToneInfo

T = TypeVar("T")


class Phone:
    """A phone on a serial device, for asyncio. Use it in an ``async with``
    statement, which starts the link and ends it; the calls are those of
    velkport.Phone, awaited. Calls made from several tasks run one after
    another. A call that is cancelled does not stop its operation: the
    library finishes it, and the next call starts after it.

    Nothing polls: a call sleeps only when the library refuses its request
    because it is not yet ready again after the previous operation's last
    message (a moment, after image operations), and then asks again each
    millisecond, for at most 2 s."""

    def __init__(
        self,
        device: PathText,
        baud: int = 115200,
        flow: str = "rtscts",
        *,
        notices: bool = False,
    ) -> None:
        self._link = Link(device, baud, flow, notices)
        self._loop: Optional[asyncio.AbstractEventLoop] = None
        self._ending: Optional[asyncio.Future[int]] = None
        self._noticed = asyncio.Event()
        self._turn = asyncio.Lock()
        self._lost = False
        self.notices_dropped = 0
        self.on_progress: Optional[Progress] = None

    # ---- the link

    async def open(self) -> "Phone":
        """Starts the link (``async with`` does this)."""
        window = self._link.begin()
        os.set_blocking(window, False)
        self._loop = asyncio.get_running_loop()
        self._lost = False
        self._loop.add_reader(window, self._on_window, window)
        return self

    async def close(self) -> None:
        """Ends the link (``async with`` does this)."""
        if self._loop is not None and self._link.window is not None:
            self._loop.remove_reader(self._link.window)
        self._link.end()
        self._loop = None
        # A call of another task that still waits ends with the link.
        self._settle(None)

    async def __aenter__(self) -> "Phone":
        return await self.open()

    async def __aexit__(
        self,
        kind: Optional[type[BaseException]],
        value: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        await self.close()

    @property
    def device(self) -> str:
        return self._link.device

    # ---- the window

    def _on_window(self, window: int) -> None:
        while True:
            try:
                data = os.read(window, MESSAGE_SIZE)
            except (BlockingIOError, InterruptedError):
                return
            if len(data) != MESSAGE_SIZE:
                # The library let go of the window: the link has ended.
                assert self._loop is not None
                self._loop.remove_reader(window)
                self._lost = True
                self._noticed.set()
                self._settle(None)
                return
            message = _MESSAGE.unpack(data)[0]
            if message in n.FINAL_MESSAGES:
                self._settle(message)
            elif message == n.MSG_NOTICE:
                self._noticed.set()
            elif self.on_progress is not None:
                self.on_progress(message)

    def _settle(self, message: Optional[int]) -> None:
        ending, self._ending = self._ending, None
        if ending is None or ending.done():
            return
        if message is None:
            ending.set_exception(link_lost("waiting for the phone"))
            # Retrieved here, in case a cancelled call left nobody to await it.
            ending.exception()
        else:
            ending.set_result(message)

    # ---- the driver

    async def _drive(self, operation: op.Operation[T]) -> T:
        self._link.require()
        async with self._turn:
            if self._ending is not None:
                # A cancelled call's operation runs on to its end in the
                # library; the next one may start only after it.
                await asyncio.wait([self._ending])
            try:
                request = next(operation)
                while True:
                    await self._ask(request)
                    assert self._loop is not None
                    ending = self._loop.create_future()
                    self._ending = ending
                    # Shielded: cancelling the call leaves the future for
                    # the operation's end, which the next call waits for.
                    message = await asyncio.shield(ending)
                    request = operation.send(message)
            except StopIteration as done:
                return done.value

    async def _ask(self, request: op.Request) -> None:
        if self._lost:
            raise link_lost(request.doing)
        give_up = time.monotonic() + op.REQUEST_RETRY_SECONDS
        while request.start() != 1:
            refused = op.refusal(request)
            if refused is not None:
                raise refused
            if time.monotonic() > give_up:
                raise op.not_taken(request)
            await asyncio.sleep(op.REQUEST_RETRY_PAUSE)

    # ---- ring tones

    async def tone_info(self) -> ToneInfo:
        """The ring-tone information."""
        return await self._drive(op.tone_info())

    async def tone(self, slot: int) -> Tone:
        """The ring tone in `slot`, with its name."""
        return await self._drive(op.read_tone(slot))

    async def read_tone(self, slot: int) -> ToneData:
        """The ring tone in `slot`: bytes when its text is hexadecimal, else
        a str (see velkport.Phone.read_tone)."""
        return (await self.tone(slot)).data

    async def write_tone(self, slot: int, name: str, data: ToneData) -> None:
        """Writes a ring tone into `slot` (see velkport.Phone.write_tone)."""
        await self._drive(op.write_tone(slot, name, data))

    # ---- images

    async def image_info(self) -> ImageInfo:
        """The image information, with the images' frame ranges."""
        return await self._drive(op.image_info())

    async def image(self, number: int) -> Image:
        """Image `number` (from 1) with its name and frame parameters."""
        return await self._drive(op.read_image(number))

    async def read_image(self, number: int) -> list[str]:
        """The frames of image `number` (from 1), 1536 characters each."""
        return (await self.image(number)).frames

    async def write_image(
        self,
        number: int,
        name: str,
        frames: Sequence[str],
        param_first: int = 25,
        param_last: int = 0,
    ) -> None:
        """Writes image `number` from its frames (see
        velkport.Phone.write_image)."""
        await self._drive(op.write_image(number, name, frames, param_first, param_last))

    # ---- the whole engine

    async def run(self, text: op.Texts, body: Optional[str] = None) -> list[dict[str, Any]]:
        """Runs catalogue commands as one operation (see
        velkport.Phone.run)."""
        return await self._drive(op.run(text, body))

    async def contacts(self, storage: str = "SM") -> list[dict[str, Any]]:
        """The entries of phone book `storage`, one result block each."""
        return await self._drive(op.contacts(storage))

    async def messages(self, state: str = "ALL") -> list[dict[str, Any]]:
        """The stored messages of `state` in text mode."""
        return await self._drive(op.messages(state))

    async def status(self) -> dict[str, Optional[dict[str, Any]]]:
        """Each status command with its result block (see
        velkport.Phone.status)."""
        return await self._drive(op.status())

    async def notices(self, wait: Optional[float] = None) -> list[dict[str, Any]]:
        """The notices kept since the last call; with `wait`, when none is
        kept, first waits up to that many seconds for one to be
        announced."""
        self._link.require()
        self._noticed.clear()
        kept = op.take_notices(self)
        if kept or wait is None:
            return kept
        deadline = time.monotonic() + wait
        while not kept:
            left = deadline - time.monotonic()
            if left <= 0:
                break
            try:
                await asyncio.wait_for(self._noticed.wait(), left)
            except asyncio.TimeoutError:
                break
            if self._lost:
                raise link_lost("waiting for notices")
            self._noticed.clear()
            kept = op.take_notices(self)
        return kept


__all__ = ["Phone", "VelkportError"]
