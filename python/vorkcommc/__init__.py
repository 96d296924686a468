"""Python binding of libVORKCoreCommC for agent scripts.

The binding calls the library's flat C interface through ctypes. Every text
crosses as UTF-8 and comes back as ``str``; the library keeps ownership of
its returned text, and ctypes copies it before the call returns, so nothing
here frees anything. Where a C function signals a failure (a start function
answering a failure text, a digest of "", status 1999 of a server call) the
binding raises :class:`VorkCommCError` or one of its subclasses.

Example::

    import vorkcommc
    vorkcommc.configure_server("127.0.0.1:8443", user="agent", password="secret", allow_invalid_certificate=True)
    print(vorkcommc.keep_alive())
    with vorkcommc.HttpTransfer("https://127.0.0.1:8443/files/pkg.dmg", download_to="/tmp/pkg.dmg",
                                allow_invalid_certificate=True) as transfer:
        for percent in transfer:
            print(f"{percent:5.1f} %")
    print(vorkcommc.sha512("/tmp/pkg.dmg"))
"""
from __future__ import annotations

from .errors import ServerUnreachable, TransferError, VorkCommCError
from .functions import (
    configure_server,
    current_ip_address,
    ip_address_in_range,
    keep_alive,
    md5,
    remove_invalid_xml_data,
    server_call,
    server_url,
    sha512,
    status_code,
    udid,
    version,
)
from .transfers import FileCopy, FileHash, HttpTransfer, has_enough_space

__all__ = [
    "VorkCommCError",
    "TransferError",
    "ServerUnreachable",
    "configure_server",
    "current_ip_address",
    "ip_address_in_range",
    "keep_alive",
    "md5",
    "remove_invalid_xml_data",
    "server_call",
    "server_url",
    "sha512",
    "status_code",
    "udid",
    "version",
    "FileCopy",
    "FileHash",
    "HttpTransfer",
    "has_enough_space",
]
