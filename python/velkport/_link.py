"""Starting and ending the library's link, shared by the blocking and the
asyncio Phone. The library holds one link per process, so one Phone at a
time may stand."""

from __future__ import annotations

import os
import threading
from typing import Optional, Union

from . import _native as n
from .errors import LinkError

PathText = Union[str, "os.PathLike[str]"]

FLOWS = {"rtscts": 0, "xonxoff": 1}

_standing_lock = threading.Lock()
_standing = False


class Link:
    """The window pipe and the library's link on one device."""

    def __init__(self, device: PathText, baud: int, flow: str, notices: bool) -> None:
        if flow not in FLOWS:
            raise ValueError(f"flow is 'rtscts' or 'xonxoff', not {flow!r}")
        if not isinstance(baud, int) or isinstance(baud, bool) or baud <= 0:
            raise ValueError(f"baud is a positive number, not {baud!r}")
        self.device = os.fspath(device)
        self.baud = baud
        self.flow = flow
        self.notices = notices
        self.window: Optional[int] = None

    def begin(self) -> int:
        """Starts the link; the read end of the window pipe."""
        global _standing
        library = n.library()
        with _standing_lock:
            if _standing:
                raise LinkError(
                    n.ERR_LINK_BUSY,
                    "another velkport.Phone holds the link; the library keeps one link a "
                    "process, so end that one first",
                    doing=f"starting the link on {self.device}",
                )
            if library.velk_SetPortDevice(n.MAPPED_PORT, self.device.encode()) != 1:
                raise LinkError(-1, f"the device path {self.device} is too long")
            read_end, write_end = os.pipe2(os.O_CLOEXEC)
            begun = library.velk_BeginThread(write_end, n.MAPPED_PORT, self.baud, FLOWS[self.flow])
            # The library keeps its own copy: once it lets go, the read end
            # sees the end of the pipe.
            os.close(write_end)
            if begun != 1:
                code, text = n.last_error()
                os.close(read_end)
                library.velk_SetPortDevice(n.MAPPED_PORT, None)
                raise LinkError(code, text, doing=f"starting the link on {self.device}")
            _standing = True
        if self.notices:
            library.velk_EnableNotices(1)
        self.window = read_end
        return read_end

    def end(self) -> None:
        """Ends the link; a link that is not up is left as it is."""
        global _standing
        if self.window is None:
            return
        library = n.library()
        with _standing_lock:
            if self.notices:
                library.velk_EnableNotices(0)
            library.velk_EndThread()
            library.velk_SetPortDevice(n.MAPPED_PORT, None)
            os.close(self.window)
            self.window = None
            _standing = False

    def require(self) -> int:
        if self.window is None:
            raise LinkError(
                n.ERR_LINK_BUSY, "no link stands: use the Phone in a with statement"
            )
        return self.window
