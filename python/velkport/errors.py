"""The exceptions of velkport. Each carries the number and the line of text
that velk_GetLastError gave for the failure, and the window message that
ended the operation, when one did."""

from __future__ import annotations

from typing import Any, Optional


class VelkportError(Exception):
    """A failure of the library or of the phone.

    ``code`` and ``text`` are velk_GetLastError's number and text (for the
    phone's own error line: the +CME/+CMS number, 0 for a plain ERROR, and
    the line; -1 and a sentence when the phone gave no error); ``message``
    is the window message that ended the operation, or None; ``results``
    holds the result blocks a run of commands drew before it failed."""

    def __init__(
        self,
        code: int,
        text: str,
        message: Optional[int] = None,
        results: Optional[list[dict[str, Any]]] = None,
        doing: str = "",
    ) -> None:
        self.code = code
        self.text = text
        self.message = message
        self.results: list[dict[str, Any]] = results or []
        self.doing = doing
        super().__init__(f"{doing}: {text}" if doing else text)


class LibraryNotFound(VelkportError):
    """libvelkport.so.1 could not be loaded, or is too old."""


class LinkError(VelkportError):
    """The link could not be started (``code`` is the errno of the step that
    failed), or it ended under a running operation, or there is none."""


class RequestRefused(VelkportError):
    """The library did not take a request: a command text it does not know
    (``code`` -2), a list it cannot run (-3), a message body it cannot send
    (-4), or a link that is busy or gone (-5)."""


class PhoneRefused(VelkportError):
    """The phone answered with an error line (``code`` >= 0), or it lists
    no such image (``code`` -1)."""


class OpeningRefused(PhoneRefused):
    """The phone refused AT or ATE0, which open every operation."""


class PhoneTimeout(VelkportError):
    """The phone did not answer in time, or the link fell."""
