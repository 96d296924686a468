"""The library's plain functions: version, host helpers, server settings,
server calls and file digests."""
from __future__ import annotations

import xml.etree.ElementTree as ElementTree
from typing import Callable, Optional

from ._library import decode, encode, library
from .errors import ServerUnreachable, TransferError

#: The status a server call answers when the exchange failed in the library.
COMMUNICATION_FAILURE = 1999


def version() -> str:
    """The library's version, e.g. "1.0.0"."""
    return decode(library().VORKCoreCommCVersion()) or ""


def current_ip_address() -> str:
    """This host's first four-part (IPv4) address; "" when it has none."""
    return decode(library().currentIpAddress()) or ""


def ip_address_in_range(address: str, start: str, end: str) -> bool:
    """Whether each dot-separated part of the address lies within the
    matching parts of start and end (the library's part-by-part test)."""
    return bool(library().ipAddressInRange(encode(address), encode(start), encode(end)))


def server_url(user_input: str) -> Optional[str]:
    """The server URL the library makes of a typed address ("server" gives
    "https://server:8443/"); None when it gives no URL."""
    return decode(library().zelURLFromUserInput(encode(user_input)))


def remove_invalid_xml_data(text: str) -> str:
    """The text without references to characters XML forbids ("&#1;"...)."""
    return decode(library().removeInvalidXmlData(encode(text))) or ""


def udid() -> str:
    """This machine's hardware UUID; "" when it cannot be read."""
    return decode(library().getUdid()) or ""


def configure_server(url: str, user: Optional[str] = None, password: Optional[str] = None,
                     allow_invalid_certificate: bool = False) -> None:
    """Sets the server session's settings for every later server call. The
    address is normalised like the command-line tool does (scheme and port
    added). The password goes to the library only; it never reaches a log."""
    lib = library()
    lib.setZelUrl(encode(server_url(url) or url))
    lib.setZelUsername(encode(user))
    lib.setZelPassword(encode(password))
    lib.setAllowInvalidCertificate(1 if allow_invalid_certificate else 0)


def status_code(xml: str) -> Optional[int]:
    """The status code of the first content of a response message; None when
    the text carries none."""
    try:
        root = ElementTree.fromstring(xml)
    except ElementTree.ParseError:
        return None
    for element in root.iter():
        if element.tag.rsplit("}", 1)[-1] == "status":
            for child in element:
                if child.tag.rsplit("}", 1)[-1] == "code" and child.text and child.text.strip().isdigit():
                    return int(child.text)
    return None


def server_call(call: Callable[[], Optional[bytes]]) -> str:
    """Runs one server call of the C interface and answers its response
    message as XML text. Raises ServerUnreachable on status 1999; other
    statuses (authentication, permission...) are the server's answer and are
    returned for the caller to read with :func:`status_code`."""
    xml = decode(call()) or ""
    if status_code(xml) == COMMUNICATION_FAILURE:
        raise ServerUnreachable("no usable answer from the server (status 1999)", xml)
    return xml


def keep_alive(invalidate: bool = False) -> str:
    """The keep-alive call; invalidate asks the server to end the session."""
    return server_call(lambda: library().keepAlive(1 if invalidate else 0))


def _digest(function: Callable[[Optional[bytes]], Optional[bytes]], path: str) -> str:
    digest = decode(function(encode(path))) or ""
    if not digest:
        raise TransferError(f"cannot hash {path} (missing or unreadable)")
    return digest


def md5(path: str) -> str:
    """MD5 of a file as 32 lower-case hex digits, on the calling thread.
    Raises TransferError when the file is missing or unreadable."""
    return _digest(library().fileHashMD5, path)


def sha512(path: str) -> str:
    """SHA-512 of a file as 128 lower-case hex digits; otherwise as md5."""
    return _digest(library().fileHashSHA512, path)
