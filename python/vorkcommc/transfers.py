"""The library's start-poll-release families as objects.

Each family has one process-wide object in the library, so at most one
transfer, one copy and one background hash exist at a time; making a second
one of a kind while the first is open raises VorkCommCError. Use them with
``with`` (which releases the library's object on exit) and iterate over them
for progress: each step polls once, which also pumps the calling thread's
run loop, and yields the percentage done. Poll from the thread that started
the work.
"""
from __future__ import annotations

import time
from types import TracebackType
from typing import ClassVar, Iterator, Mapping, Optional, Type

from ._library import decode, encode, library
from .errors import TransferError, VorkCommCError


class _Family:
    """One open object per family, released by close() or at the end of ``with``."""

    _open: ClassVar[dict[str, bool]] = {}
    _name: ClassVar[str] = ""

    def __init__(self) -> None:
        if _Family._open.get(self._name):
            raise VorkCommCError(f"a {self._name} is already open in this process")
        _Family._open[self._name] = True
        self._closed = False

    def _release(self) -> None:
        raise NotImplementedError

    def close(self) -> None:
        """Frees the library's object (stopping work still running)."""
        if not self._closed:
            self._closed = True
            self._release()
            _Family._open[self._name] = False

    def __enter__(self) -> "_Family":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()


class HttpTransfer(_Family):
    """One download or upload with progress (httpTransfer* functions).

    ``download_to`` names the file a download is written to; ``upload_from``
    a file whose bytes are POSTed; ``post_data`` XML text POSTed instead.
    Iterating starts the transfer and yields its progress until it ends;
    :meth:`wait` does the same silently. Both raise TransferError when the
    transfer fails (``response_code`` tells the last HTTP status).
    """

    _name = "HTTP transfer"

    def __init__(self, url: str, *, download_to: Optional[str] = None, upload_from: Optional[str] = None,
                 post_data: Optional[str] = None, user: Optional[str] = None, password: Optional[str] = None,
                 allow_invalid_certificate: bool = False, headers: Optional[Mapping[str, str]] = None) -> None:
        super().__init__()
        lib = library()
        lib.httpTransferInitDownload(encode(url), allow_invalid_certificate, encode(user), encode(password),
                                     encode(post_data), encode(upload_from), encode(download_to))
        for name, value in (headers or {}).items():
            lib.httpTransferAddHeader(encode(name), encode(value))
        self._started = False

    def __enter__(self) -> "HttpTransfer":
        return self

    def _release(self) -> None:
        library().httpTransferRelease()

    def start(self) -> None:
        """Starts the transfer; raises TransferError when it cannot start."""
        failure = decode(library().httpTransferStart()) or ""
        self._started = True
        if failure:
            raise TransferError(failure, self.response_code)

    def __iter__(self) -> Iterator[float]:
        if not self._started:
            self.start()
        lib = library()
        while not lib.httpTransferIsComplete():
            progress = lib.httpTransferProgress()
            if progress >= 0:
                yield progress
        self._raise_on_failure()
        yield 100.0

    def wait(self) -> int:
        """Runs the transfer to its end; answers the HTTP status."""
        for _ in self:
            pass
        return self.response_code

    def submit(self) -> str:
        """Runs the request synchronously once (no retries) and answers the
        response body; raises TransferError when it fails."""
        body = decode(library().httpSubmitRequest())
        self._raise_on_failure()
        return body or ""

    def cancel(self) -> bool:
        """Marks the transfer cancelled; it ends when the request next reports."""
        return bool(library().httpTransferCancel())

    def _raise_on_failure(self) -> None:
        error = self.error
        if error:
            raise TransferError(error, self.response_code)

    @property
    def response_code(self) -> int:
        """HTTP status of the last attempt; 0 without an answer."""
        return int(library().httpResponseCode())

    @property
    def status(self) -> Optional[str]:
        """"" while running, "Retry #n..." while waiting to retry, "Canceled"."""
        return decode(library().httpTransferStatus())

    @property
    def result(self) -> Optional[str]:
        """The response body as text (None when it is not UTF-8)."""
        return decode(library().httpTransferResult())

    @property
    def error(self) -> str:
        """The failure text of the last attempt; "" when it did not fail."""
        return decode(library().httpTransferError()) or ""

    @staticmethod
    def retry_settings(max_retries: int, min_delay: float = 5.0, max_delay: float = 120.0) -> None:
        """Retries (and their delays in seconds) for file uploads made later."""
        library().httpTransferRetrySettings(max_retries, min_delay, max_delay)


def has_enough_space(source: str, destination_folder: str) -> bool:
    """Whether the source (file or folder) fits in the destination's free
    space. Leaves the library's copy object made; a FileCopy replaces it."""
    lib = library()
    fits = bool(lib.hasEnoughSpaceForFileInDestination(encode(source), encode(destination_folder)))
    lib.fileCopyRelease()
    return fits


class FileCopy(_Family):
    """Copies a file or folder into a destination folder (fileCopy*).

    The copy starts when the object is made; a refusal raises TransferError
    with the library's failure text.
    Iterating yields the percentage copied until the copy completes.
    """

    _name = "file copy"

    def __init__(self, source: str, destination_folder: str) -> None:
        super().__init__()
        failure = decode(library().fileCopyStart(encode(source), encode(destination_folder))) or ""
        if failure:
            self.close()
            raise TransferError(failure)

    def __enter__(self) -> "FileCopy":
        return self

    def _release(self) -> None:
        library().fileCopyRelease()

    def __iter__(self) -> Iterator[float]:
        lib = library()
        while not lib.fileCopyIsComplete():
            yield lib.fileCopyProgress()
        yield 100.0

    def wait(self) -> None:
        """Pumps until the copy has completed."""
        for _ in self:
            pass


class FileHash(_Family):
    """MD5 or SHA-512 of a file on a background thread (fileHash*Start...).

    Iterating yields 0.0 while the digest is computed and 100.0 at the end;
    :attr:`digest` waits for the end and raises TransferError when the file
    could not be hashed.
    """

    _name = "file hash"
    POLL_SECONDS: ClassVar[float] = 0.005

    def __init__(self, path: str, algorithm: str = "sha512") -> None:
        if algorithm not in ("md5", "sha512"):
            raise ValueError("algorithm must be 'md5' or 'sha512'")
        super().__init__()
        self.path = path
        lib = library()
        (lib.fileHashMD5Start if algorithm == "md5" else lib.fileHashSHA512Start)(encode(path))

    def __enter__(self) -> "FileHash":
        return self

    def _release(self) -> None:
        library().fileHashRelease()

    def __iter__(self) -> Iterator[float]:
        lib = library()
        while not lib.fileHashIsComplete():
            yield 0.0
            time.sleep(self.POLL_SECONDS)
        yield 100.0

    @property
    def digest(self) -> str:
        """The lower-case hex digest, once computed."""
        for _ in self:
            pass
        digest = decode(library().fileHashResult())
        if not digest:
            raise TransferError(f"cannot hash {self.path} (missing or unreadable)")
        return digest
