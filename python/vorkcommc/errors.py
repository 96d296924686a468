"""Exceptions raised where a C function of the library signals a failure."""
from __future__ import annotations

from typing import Optional


class VorkCommCError(Exception):
    """A library call failed; the message is the library's failure text."""


class TransferError(VorkCommCError):
    """An HTTP transfer, a copy or a hash failed.

    ``response_code`` is the HTTP status of the last attempt (0 without an
    answer) for HTTP transfers, None otherwise.
    """

    def __init__(self, message: str, response_code: Optional[int] = None) -> None:
        super().__init__(message)
        self.response_code = response_code


class ServerUnreachable(VorkCommCError):
    """A server call answered status 1999: no usable answer from the server
    (no server URL, connection refused, HTTP error or unreadable reply).
    ``xml`` is the library's whole answer."""

    def __init__(self, message: str, xml: str) -> None:
        super().__init__(message)
        self.xml = xml
