"""Loading libVORKCoreCommC and declaring the C functions the binding calls."""
from __future__ import annotations

import ctypes
import ctypes.util
import os
from typing import Optional

_c_char_p = ctypes.c_char_p
_bool = ctypes.c_bool

# name: (result type, argument types)
_PROTOTYPES: dict[str, tuple[object, list[object]]] = {
    "VORKCoreCommCVersion": (_c_char_p, []),
    "VORKReleaseScopePush": (None, []),
    "VORKReleaseScopePop": (None, []),
    "currentIpAddress": (_c_char_p, []),
    "ipAddressInRange": (ctypes.c_ubyte, [_c_char_p, _c_char_p, _c_char_p]),
    "setZelUrl": (None, [_c_char_p]),
    "setZelUsername": (None, [_c_char_p]),
    "setZelPassword": (None, [_c_char_p]),
    "setAllowInvalidCertificate": (None, [ctypes.c_ubyte]),
    "getUdid": (_c_char_p, []),
    "zelURLFromUserInput": (_c_char_p, [_c_char_p]),
    "removeInvalidXmlData": (_c_char_p, [_c_char_p]),
    "keepAlive": (_c_char_p, [ctypes.c_ubyte]),
    "computerInventoryPrefs": (_c_char_p, []),
    "clientSitePrivileges": (_c_char_p, [_c_char_p]),
    "clientSiteSelection": (_c_char_p, [ctypes.c_int]),
    "adminSave": (_c_char_p, [_c_char_p]),
    "adminAddObject": (_c_char_p, []),
    "getPrinterInfo": (_c_char_p, [ctypes.c_int]),
    "retrieveScriptData": (_c_char_p, [ctypes.c_int]),
    "httpTransferRetrySettings": (None, [ctypes.c_int, ctypes.c_double, ctypes.c_double]),
    "httpTransferInitDownload": (None, [_c_char_p, _bool, _c_char_p, _c_char_p, _c_char_p, _c_char_p, _c_char_p]),
    "httpTransferAddHeader": (_bool, [_c_char_p, _c_char_p]),
    "httpSubmitRequest": (_c_char_p, []),
    "httpTransferStart": (_c_char_p, []),
    "httpTransferProgress": (ctypes.c_double, []),
    "httpTransferStatus": (_c_char_p, []),
    "httpTransferCancel": (_bool, []),
    "httpTransferIsComplete": (_bool, []),
    "httpResponseCode": (ctypes.c_int, []),
    "httpTransferResult": (_c_char_p, []),
    "httpTransferError": (_c_char_p, []),
    "httpTransferRelease": (None, []),
    "hasEnoughSpaceForFileInDestination": (_bool, [_c_char_p, _c_char_p]),
    "fileCopyStart": (_c_char_p, [_c_char_p, _c_char_p]),
    "fileCopyProgress": (ctypes.c_double, []),
    "fileCopyIsComplete": (_bool, []),
    "fileCopyRelease": (None, []),
    "fileHashMD5": (_c_char_p, [_c_char_p]),
    "fileHashSHA512": (_c_char_p, [_c_char_p]),
    "fileHashMD5Start": (None, [_c_char_p]),
    "fileHashSHA512Start": (None, [_c_char_p]),
    "fileHashIsComplete": (_bool, []),
    "fileHashResult": (_c_char_p, []),
    "fileHashRelease": (None, []),
}

_library: Optional[ctypes.CDLL] = None


def _candidates() -> list[str]:
    explicit = os.environ.get("VORKCOMMC_LIBRARY")
    if explicit:
        return [explicit]
    found = ctypes.util.find_library("VORKCoreCommC")
    return [name for name in (found, "libVORKCoreCommC.so.1") if name]


def library() -> ctypes.CDLL:
    """The loaded library with its prototypes declared; loads it on first use.

    The path comes from the environment variable VORKCOMMC_LIBRARY when set,
    otherwise the system's library search (an installed package, ldconfig,
    LD_LIBRARY_PATH). Raises OSError when it cannot be loaded.
    """
    global _library
    if _library is None:
        errors = []
        for name in _candidates():
            try:
                loaded = ctypes.CDLL(name)
                break
            except OSError as error:
                errors.append(str(error))
        else:
            raise OSError("libVORKCoreCommC not found (set VORKCOMMC_LIBRARY): " + "; ".join(errors))
        for name, (result, arguments) in _PROTOTYPES.items():
            function = getattr(loaded, name)
            function.restype = result
            function.argtypes = arguments
        _library = loaded
    return _library


def encode(text: Optional[str]) -> Optional[bytes]:
    """Text for the C interface: UTF-8 bytes, None stays NULL."""
    return None if text is None else text.encode("utf-8")


def decode(raw: Optional[bytes]) -> Optional[str]:
    """Text from the C interface. ctypes copies the library-owned bytes as
    soon as the call returns, so the result outlives any release scope."""
    return None if raw is None else raw.decode("utf-8")
