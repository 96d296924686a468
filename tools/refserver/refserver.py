#!/usr/bin/env python3
"""Reference management server for tests, benchmarks and the demo.

Answers message envelopes posted to /client, serves files with byte ranges
from a folder, stores uploads, and can be told to misbehave. It listens on
127.0.0.1 only. See README.md beside this file for the command line and the
control API.
"""

import argparse
import base64
import hashlib
import hmac
import json
import os
import signal
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time
from dataclasses import asdict, dataclass, field, fields
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path
from urllib.parse import unquote, urlsplit

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
sys.dont_write_bytecode = True  # leave the source tree as it is

try:
    from lxml import etree  # noqa: F401  (checked here so the failure is clear)
except ImportError:
    # A Python of its own (pyenv, venv) may not see the distribution's lxml.
    system_python = "/usr/bin/python3"
    if (os.path.realpath(sys.executable) != os.path.realpath(system_python)
            and os.access(system_python, os.X_OK) and not os.environ.get("VORK_REFSERVER_REEXEC")):
        os.environ["VORK_REFSERVER_REEXEC"] = "1"
        os.execv(system_python, [system_python, *sys.argv])
    sys.exit("refserver: python3-lxml is required (apt-get install python3-lxml)")

import vorkproto  # noqa: E402
import vorkreplies  # noqa: E402
from vorkproto import (AUTHENTICATION_ERROR, INVALID_CONTENT, INVALID_MESSAGE,  # noqa: E402
                       ReplyContent)

HOST = "127.0.0.1"
MAX_MESSAGE_BYTES = 64 << 20
MAX_RECORDS = 10000
MASK = "********"


@dataclass
class Faults:
    """Misbehaviour switched on from the command line or POST /__control."""
    httpStatus: int = 0             # answer with this HTTP status instead
    malformedXml: bool = False      # reply that is not well-formed XML
    truncatedXml: bool = False      # reply cut in half (downloads: body cut short)
    delaySeconds: float = 0.0       # wait this long before answering
    clockSkewSeconds: int = 0       # time stamps of replies shifted by this much
    wrongCredentials: bool = False  # every exchange answered with status 1400
    arrayWithoutClass: bool = False # site replies carry privilege lists
    cutConnection: bool = False     # drop the connection without an answer
    rateLimit: int = 0              # download bytes per second (0: unlimited)
    paths: list = field(default_factory=list)  # path prefixes affected ([]: all)
    remaining: int = -1             # requests left before all faults clear (-1: no end)

    @classmethod
    def from_json(cls, data):
        if not isinstance(data, dict):
            raise ValueError("the fault set must be a JSON object")
        known = {f.name: f for f in fields(cls)}
        kwargs = {}
        for key, value in data.items():
            if key not in known:
                raise ValueError(f"unknown fault {key!r}; known: {', '.join(sorted(known))}")
            kind = known[key].type
            if kind in ("bool", bool):
                if not isinstance(value, bool):
                    raise ValueError(f"{key} takes true or false")
            elif kind in ("int", int):
                if isinstance(value, bool) or not isinstance(value, int):
                    raise ValueError(f"{key} takes an integer")
            elif kind in ("float", float):
                if isinstance(value, bool) or not isinstance(value, (int, float)):
                    raise ValueError(f"{key} takes a number")
                value = float(value)
            elif key == "paths":
                if not isinstance(value, list) or not all(isinstance(p, str) for p in value):
                    raise ValueError("paths takes a list of path prefixes")
            kwargs[key] = value
        return cls(**kwargs)

    def active(self):
        return [f.name for f in fields(self)
                if f.name not in ("paths", "remaining") and getattr(self, f.name)]

    def applies_to(self, path):
        return not self.paths or any(path.startswith(p) for p in self.paths)


class State:
    """Faults and request records, shared by the handler threads."""

    def __init__(self, faults):
        self._lock = threading.Lock()
        self._faults = faults
        self._records = []
        self._next_id = 1

    def faults(self):
        with self._lock:
            return Faults(**asdict(self._faults))

    def set_faults(self, faults):
        with self._lock:
            self._faults = faults

    def take_faults(self, path):
        """The faults for one request to path; counts down a limited fault set."""
        with self._lock:
            f = self._faults
            if not f.active() or not f.applies_to(path):
                return Faults()
            snapshot = Faults(**asdict(f))
            if f.remaining > 0:
                f.remaining -= 1
                if f.remaining == 0:
                    self._faults = Faults()
            return snapshot

    def add_record(self, record):
        with self._lock:
            record["id"] = self._next_id
            self._next_id += 1
            self._records.append(record)
            del self._records[:-MAX_RECORDS]

    def records_json(self):
        with self._lock:
            return json.dumps(self._records, ensure_ascii=False)

    def clear_records(self):
        with self._lock:
            n = len(self._records)
            self._records.clear()
            return n


class ConnectionCut(Exception):
    pass


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "VORKRefServer/1.0"
    # Headers and body go out in separate writes; without TCP_NODELAY the
    # body waits for the client's delayed acknowledgement (about 40 ms).
    disable_nagle_algorithm = True
    timeout = 120  # idle keep-alive connections are closed after this

    # --- plumbing -----------------------------------------------------------

    def handle(self):
        conn = self.connection
        if isinstance(conn, ssl.SSLSocket):
            try:
                conn.do_handshake()
            except (ssl.SSLError, OSError) as e:
                self.server.note(f"TLS handshake failed: {e}")
                self.close_connection = True
                return
        try:
            super().handle()
        except ConnectionCut:
            pass
        except (ConnectionError, ssl.SSLError, socket.timeout):
            self.close_connection = True

    def log_message(self, fmt, *args):
        if self.server.verbose:
            sys.stderr.write("refserver: %s %s\n" % (self.address_string(), fmt % args))

    def _send(self, code, body=b"", ctype="text/plain; charset=utf-8", headers=()):
        self.send_response(code)
        if ctype:
            self.send_header("Content-Type", ctype)
        self.send_header("Content-Length", str(len(body)))
        for name, value in headers:
            self.send_header(name, value)
        if self.close_connection:
            self.send_header("Connection", "close")
        self.end_headers()
        if self.command != "HEAD" and body:
            self.wfile.write(body)
        self.wfile.flush()

    def _send_json(self, code, obj):
        self._send(code, json.dumps(obj, indent=1).encode("utf-8"), "application/json")

    def _cut(self):
        """Drops the connection at once (reset, no answer)."""
        self.close_connection = True
        try:
            self.wfile.flush()
        except OSError:
            pass
        try:
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        except OSError:
            pass
        try:
            self.connection.close()
        except OSError:
            pass
        raise ConnectionCut()

    def _body_chunks(self):
        """The request body in pieces, for a length or chunked transfer coding."""
        if "chunked" in self.headers.get("Transfer-Encoding", "").lower():
            while True:
                line = self.rfile.readline(1024)
                if not line:
                    raise ConnectionError("body ended early")
                size = int(line.split(b";")[0].strip() or b"0", 16)
                if size == 0:
                    while self.rfile.readline(1024) not in (b"\r\n", b"\n", b""):
                        pass
                    return
                left = size
                while left:
                    piece = self.rfile.read(min(left, 1 << 16))
                    if not piece:
                        raise ConnectionError("body ended early")
                    left -= len(piece)
                    yield piece
                self.rfile.readline(16)
        else:
            left = int(self.headers.get("Content-Length") or 0)
            while left > 0:
                piece = self.rfile.read(min(left, 1 << 16))
                if not piece:
                    raise ConnectionError("body ended early")
                left -= len(piece)
                yield piece

    def _read_body(self, limit):
        out = bytearray()
        for piece in self._body_chunks():
            out += piece
            if len(out) > limit:
                raise OverflowError()
        return bytes(out)

    def _headers_for_record(self):
        out = []
        for name, value in self.headers.items():
            if name.lower() in ("authorization", "proxy-authorization"):
                scheme = value.split(" ", 1)[0]
                value = f"{scheme} {MASK}"
            out.append([name, value])
        return out

    def _authenticate(self):
        """(user or None, failure: None, "missing" or "wrong")."""
        if self.server.user is None:
            return None, None
        header = self.headers.get("Authorization")
        if not header:
            return None, "missing"
        scheme, _, token = header.partition(" ")
        if scheme.lower() != "basic":
            return None, "wrong"
        try:
            user, _, password = base64.b64decode(token.strip(), validate=True).decode("utf-8").partition(":")
        except (ValueError, UnicodeDecodeError):
            return None, "wrong"
        ok_user = hmac.compare_digest(user.encode(), self.server.user.encode())
        ok_pass = hmac.compare_digest(password.encode(), self.server.password.encode())
        return user, (None if ok_user and ok_pass else "wrong")

    def _base_record(self, path, query):
        user, failure = self._authenticate()
        return {
            "time": time.time(),
            "method": self.command,
            "path": path,
            "query": query,
            "headers": self._headers_for_record(),
            "authUser": user,
            "authorized": failure is None,
            "authFailure": failure,
        }

    # --- routing ------------------------------------------------------------

    def _route(self):
        parts = urlsplit(self.path)
        path = unquote(parts.path)
        return path, parts.query

    def do_GET(self):
        path, query = self._route()
        if path == "/__requests":
            return self._send(200, self.server.state.records_json().encode("utf-8"), "application/json")
        if path == "/__control":
            return self._send_json(200, {"faults": asdict(self.server.state.faults())})
        if path == "/__manifest":
            return self._send_json(200, {"files": self.server.manifest()})
        if path.startswith("/files/"):
            return self._download(path, query)
        self._not_found(path)

    do_HEAD = do_GET

    def do_POST(self):
        path, query = self._route()
        if path == "/client":
            return self._client(path, query)
        if path.startswith("/upload/"):
            return self._upload(path, query)
        if path == "/__control":
            return self._control()
        self._discard_body_and(lambda: self._not_found(path))

    do_PUT = do_POST

    def do_DELETE(self):
        path, _ = self._route()
        if path == "/__requests":
            return self._send_json(200, {"cleared": self.server.state.clear_records()})
        if path == "/__control":
            self.server.state.set_faults(Faults())
            return self._send_json(200, {"faults": asdict(Faults())})
        self._not_found(path)

    def _not_found(self, path):
        self._send(404, f"nothing at {path}\n".encode("utf-8"))

    def _discard_body_and(self, then):
        try:
            for _ in self._body_chunks():
                pass
        except (ConnectionError, ValueError):
            self.close_connection = True
        then()

    # --- control ------------------------------------------------------------

    def _control(self):
        try:
            body = self._read_body(1 << 20)
            faults = Faults.from_json(json.loads(body.decode("utf-8") or "{}"))
        except (ValueError, OverflowError, UnicodeDecodeError) as e:
            return self._send_json(400, {"error": str(e)})
        self.server.state.set_faults(faults)
        self.server.note(f"faults now {faults.active() or 'off'}")
        self._send_json(200, {"faults": asdict(faults)})

    # --- messages -----------------------------------------------------------

    def _client(self, path, query):
        record = self._base_record(path, query)
        try:
            body = self._read_body(MAX_MESSAGE_BYTES)
        except OverflowError:
            self.close_connection = True
            record.update(httpStatus=413)
            self.server.state.add_record(record)
            return self._send(413, b"message too large\n")
        faults = self.server.state.take_faults(path)
        record["faults"] = faults.active()
        record["bodyLength"] = len(body)
        record["body"] = body.decode("utf-8", "replace")

        parsed = vorkproto.parse_request(body, self.server.validator)
        record["valid"] = parsed.valid
        record["validationErrors"] = parsed.invalid_reasons()
        record["envelope"] = parsed.describe_envelope()
        record["contents"] = [c.describe() for c in parsed.contents]
        record["contentErrors"] = [e for c in parsed.contents for e in c.content_errors]
        first = record["contents"][0] if record["contents"] else {}
        record["commandType"] = first.get("commandType")
        record["commandData"] = first.get("commandData")
        record["fields"] = first.get("fields", [])
        if not parsed.valid:
            self.server.note("invalid request: " + "; ".join(parsed.invalid_reasons()))
        if record["contentErrors"]:
            self.server.note("request content refused: " + "; ".join(record["contentErrors"]))

        if self._transport_faults(faults, record):
            return

        http_status, replies = self._answer(parsed, record, faults)
        reply = vorkproto.build_reply(parsed.device, parsed.application, replies,
                                      faults.clockSkewSeconds)
        if faults.malformedXml:
            reply = _malformed(reply)
        if faults.truncatedXml:
            reply = reply[: len(reply) // 2]
        record["httpStatus"] = http_status
        record["replyCodes"] = [r.code for r in replies]
        record["reply"] = reply.decode("utf-8", "replace")
        self.server.state.add_record(record)
        headers = [("WWW-Authenticate", 'Basic realm="VORK"')] if http_status == 401 else []
        self._send(http_status, reply, "application/xml; charset=utf-8", headers)

    def _transport_faults(self, faults, record):
        """Cuts, delays or answers with an HTTP error status as the faults
        say; True when the request has been answered that way."""
        if faults.cutConnection:
            record["httpStatus"] = None
            self.server.state.add_record(record)
            self._cut()
        if faults.delaySeconds > 0:
            time.sleep(faults.delaySeconds)
        if faults.httpStatus:
            record["httpStatus"] = faults.httpStatus
            self.server.state.add_record(record)
            self._send(faults.httpStatus, f"HTTP {faults.httpStatus} (fault)\n".encode())
            return True
        return False

    def _answer(self, parsed, record, faults):
        """HTTP status and one reply content per request content."""
        contents = parsed.contents or [None]

        def each(code, text):
            return [ReplyContent(code, text, request_uuid=c.uuid if c else "",
                                 response_type=c.command.response_type if c and c.command
                                 else vorkproto.ERROR_RESPONSE_TYPE) for c in contents]

        if record["authFailure"] == "missing":
            return 401, each(AUTHENTICATION_ERROR, "The request carries no credentials.")
        if record["authFailure"] == "wrong" or faults.wrongCredentials:
            return 200, each(AUTHENTICATION_ERROR, "The user name or password is not valid.")
        if not parsed.valid:
            reasons = parsed.invalid_reasons()
            return 200, each(INVALID_MESSAGE, reasons[0] if len(reasons) == 1
                             else f"{reasons[0]} (and {len(reasons) - 1} more)")
        out = []
        for c in parsed.contents:
            if c.content_errors:
                out.append(ReplyContent(INVALID_CONTENT, "; ".join(c.content_errors), request_uuid=c.uuid,
                                        response_type=c.command.response_type if c.command
                                        else vorkproto.ERROR_RESPONSE_TYPE))
            else:
                out.append(self.server.replies.answer(c, faults.arrayWithoutClass))
        return 200, out

    # --- files --------------------------------------------------------------

    def _download(self, path, query):
        record = self._base_record(path, query)
        record["range"] = self.headers.get("Range")
        if record["authFailure"]:
            record["httpStatus"] = 401
            self.server.state.add_record(record)
            return self._send(401, b"authentication required\n",
                              headers=[("WWW-Authenticate", 'Basic realm="VORK"')])
        name = path[len("/files/"):]
        target = _inside(self.server.files_dir, name)
        sidecar = None
        if target is not None and not os.path.isfile(target):
            for suffix in vorkreplies.SIDE_CAR_SUFFIXES:
                base = _inside(self.server.files_dir, name[: -len(suffix)]) if name.endswith(suffix) else None
                if base and os.path.isfile(base):
                    sidecar = (suffix, base)
        if sidecar:
            suffix, base = sidecar
            digest = self.server.digests.digests(base)[suffix[1:]]
            record["httpStatus"] = 200
            self.server.state.add_record(record)
            return self._send(200, f"{digest}  {os.path.basename(base)}\n".encode())
        if target is None or not os.path.isfile(target):
            record["httpStatus"] = 404
            self.server.state.add_record(record)
            return self._not_found(path)

        faults = self.server.state.take_faults(path)
        record["faults"] = faults.active()
        if self._transport_faults(faults, record):
            return

        size = os.path.getsize(target)
        rng = _parse_range(self.headers.get("Range"), size)
        if rng == "unsatisfiable":
            record["httpStatus"] = 416
            self.server.state.add_record(record)
            return self._send(416, b"", None, [("Content-Range", f"bytes */{size}"),
                                                ("Accept-Ranges", "bytes")])
        start, end = rng if rng else (0, size - 1)
        length = max(0, end - start + 1)
        code = 206 if rng else 200
        record["httpStatus"] = code
        self.server.state.add_record(record)
        self.send_response(code)
        self.send_header("Content-Type", "application/octet-stream")
        self.send_header("Accept-Ranges", "bytes")
        self.send_header("Content-Length", str(length))
        if rng:
            self.send_header("Content-Range", f"bytes {start}-{end}/{size}")
        if faults.truncatedXml:
            self.close_connection = True
        if self.close_connection:
            self.send_header("Connection", "close")
        self.end_headers()
        if self.command == "HEAD":
            return
        to_send = length // 2 if faults.truncatedXml else length
        self._stream(target, start, to_send, faults.rateLimit)

    def _stream(self, target, start, count, rate):
        if rate <= 0:
            # Fast path for benchmarks: the kernel copies (a TLS socket falls back to sends).
            with open(target, "rb") as f:
                if count > 0:
                    self.connection.sendfile(f, offset=start, count=count)
            return
        chunk = max(1, min(1 << 16, rate // 20))
        began, sent = time.monotonic(), 0
        with open(target, "rb") as f:
            f.seek(start)
            while sent < count:
                piece = f.read(min(chunk, count - sent))
                if not piece:
                    break
                self.wfile.write(piece)
                sent += len(piece)
                if rate > 0:
                    self.wfile.flush()
                    ahead = sent / rate - (time.monotonic() - began)
                    if ahead > 0:
                        time.sleep(ahead)
        self.wfile.flush()

    def _upload(self, path, query):
        record = self._base_record(path, query)
        record["contentType"] = self.headers.get("Content-Type")
        if record["authFailure"]:
            self.close_connection = True
            record["httpStatus"] = 401
            self.server.state.add_record(record)
            return self._send(401, b"authentication required\n",
                              headers=[("WWW-Authenticate", 'Basic realm="VORK"')])
        name = path[len("/upload/"):]
        folder = self.server.upload_dir
        target = _inside(folder, name) if folder else None
        if target is None or not name or name.endswith("/"):
            self.close_connection = True
            record["httpStatus"] = 403 if folder else 503
            self.server.state.add_record(record)
            return self._send(record["httpStatus"], b"cannot store there\n")
        faults = self.server.state.take_faults(path)
        record["faults"] = faults.active()
        if faults.cutConnection:
            self.server.state.add_record(record)
            self._cut()
        os.makedirs(os.path.dirname(target), exist_ok=True)
        md5, sha, size = hashlib.md5(), hashlib.sha512(), 0
        fd, tmp = tempfile.mkstemp(dir=os.path.dirname(target), prefix=".upload-")
        try:
            with os.fdopen(fd, "wb") as out:
                for piece in self._body_chunks():
                    out.write(piece)
                    md5.update(piece)
                    sha.update(piece)
                    size += len(piece)
            if faults.delaySeconds > 0:
                time.sleep(faults.delaySeconds)
            if faults.httpStatus:
                os.unlink(tmp)
                record["httpStatus"] = faults.httpStatus
                record.update(bodyLength=size)
                self.server.state.add_record(record)
                return self._send(faults.httpStatus, f"HTTP {faults.httpStatus} (fault)\n".encode())
            os.replace(tmp, target)
        except BaseException:
            if os.path.exists(tmp):
                os.unlink(tmp)
            raise
        result = {"name": name, "size": size, "md5": md5.hexdigest(), "sha512": sha.hexdigest()}
        record.update(bodyLength=size, bodyMd5=result["md5"], bodySha512=result["sha512"],
                      storedAs=target, httpStatus=200)
        self.server.state.add_record(record)
        self._send_json(200, result)


def _malformed(reply):
    """A reply whose last end tag does not match its start tag."""
    cut = reply.rfind(b"</")
    return reply[:cut] + b"</ns2:vorkMessag>" if cut > 0 else reply + b"<"


def _inside(folder, name):
    """The path of name inside folder, or None when it would leave it."""
    if not folder or not name or "\0" in name:
        return None
    base = os.path.realpath(folder)
    target = os.path.realpath(os.path.join(base, name))
    return target if target.startswith(base + os.sep) else None


def _parse_range(header, size):
    """(start, end) for one satisfiable byte range, "unsatisfiable", or None to send it all."""
    if not header:
        return None
    unit, _, ranges = header.strip().partition("=")
    if unit.strip().lower() != "bytes" or "," in ranges:
        return None
    first, dash, last = ranges.strip().partition("-")
    if not dash:
        return None
    try:
        if first == "":
            n = int(last)
            if n <= 0:
                return "unsatisfiable"
            return (max(0, size - n), size - 1) if size else "unsatisfiable"
        start = int(first)
        end = int(last) if last else size - 1
    except ValueError:
        return None
    if start < 0 or (last and end < start):
        return None
    if start >= size:
        return "unsatisfiable"
    return start, min(end, size - 1)


class RefServer(ThreadingHTTPServer):
    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 128

    def __init__(self, port, *, user, password, files_dir, upload_dir, fixture, faults,
                 tls_context=None, verbose=False):
        self.user = user
        self.password = password or ""
        self.files_dir = files_dir
        self.upload_dir = upload_dir
        self.verbose = verbose
        self.tls_context = tls_context
        self.state = State(faults)
        self.validator = vorkproto.Validator()
        self.digests = vorkreplies.DigestCache()
        self.replies = vorkreplies.Replies(fixture, files_dir, self.digests)
        super().__init__((HOST, port), Handler)

    def get_request(self):
        sock, addr = self.socket.accept()
        if self.tls_context is not None:
            # The handshake runs in the handler's thread, not in the accept loop.
            sock = self.tls_context.wrap_socket(sock, server_side=True, do_handshake_on_connect=False)
        return sock, addr

    def handle_error(self, request, client_address):
        exc = sys.exc_info()[1]
        if isinstance(exc, (ConnectionError, ssl.SSLError, socket.timeout, ConnectionCut)):
            return
        super().handle_error(request, client_address)

    def note(self, text):
        sys.stderr.write(f"refserver: {text}\n")
        sys.stderr.flush()

    def manifest(self):
        return {name: self.digests.digests(os.path.join(self.files_dir, name))
                for name in vorkreplies.served_files(self.files_dir)}

    @property
    def scheme(self):
        return "https" if self.tls_context else "http"


def make_self_signed(folder):
    """cert.pem and key.pem for 127.0.0.1 in folder, made once with openssl."""
    folder = Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    cert, key = folder / "cert.pem", folder / "key.pem"
    if not (cert.is_file() and key.is_file()):
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
             "-nodes", "-keyout", str(key), "-out", str(cert), "-days", "30",
             "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        os.chmod(key, 0o600)
    return cert, key


def parse_args(argv):
    p = argparse.ArgumentParser(description="Reference management server (127.0.0.1 only).")
    p.add_argument("--port", type=int, default=0, help="port to listen on; 0 picks a free one")
    p.add_argument("--port-file", help="write the port chosen to this file")
    p.add_argument("--tls-cert", help="PEM certificate: serve HTTPS")
    p.add_argument("--tls-key", help="PEM private key of --tls-cert")
    p.add_argument("--self-signed", metavar="DIR",
                   help="make DIR/cert.pem and DIR/key.pem (if missing) and serve HTTPS with them")
    p.add_argument("--user", help="user name for basic authentication (none: no authentication)")
    p.add_argument("--password-file", help="file whose first line is the password")
    p.add_argument("--files", help="folder served under /files/")
    p.add_argument("--uploads", help="folder uploads are stored in (default: --files)")
    p.add_argument("--fixture", default=str(vorkreplies.FIXTURE_FILE), help="reply data (JSON)")
    p.add_argument("--verbose", action="store_true", help="log every request to standard error")
    g = p.add_argument_group("faults (also switchable with POST /__control)")
    g.add_argument("--fault-http-status", type=int, default=0, metavar="CODE")
    g.add_argument("--fault-malformed-xml", action="store_true")
    g.add_argument("--fault-truncated-xml", action="store_true")
    g.add_argument("--fault-delay", type=float, default=0.0, metavar="SECONDS")
    g.add_argument("--fault-clock-skew", type=int, default=0, metavar="SECONDS")
    g.add_argument("--fault-wrong-credentials", action="store_true")
    g.add_argument("--fault-array-without-class", action="store_true")
    g.add_argument("--fault-cut-connection", action="store_true")
    g.add_argument("--fault-rate-limit", type=int, default=0, metavar="BYTES_PER_SECOND")
    g.add_argument("--fault-paths", nargs="*", default=[], metavar="PREFIX")
    g.add_argument("--fault-remaining", type=int, default=-1, metavar="N")
    args = p.parse_args(argv)
    if bool(args.tls_cert) != bool(args.tls_key):
        p.error("--tls-cert and --tls-key go together")
    if args.password_file and not args.user:
        p.error("--password-file needs --user")
    return args


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    password = ""
    if args.password_file:
        with open(args.password_file, encoding="utf-8") as f:
            password = f.readline().rstrip("\r\n")
    cert, key = args.tls_cert, args.tls_key
    if args.self_signed and not cert:
        cert, key = make_self_signed(args.self_signed)
    context = None
    if cert:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(str(cert), str(key))
    faults = Faults(httpStatus=args.fault_http_status, malformedXml=args.fault_malformed_xml,
                    truncatedXml=args.fault_truncated_xml, delaySeconds=args.fault_delay,
                    clockSkewSeconds=args.fault_clock_skew, wrongCredentials=args.fault_wrong_credentials,
                    arrayWithoutClass=args.fault_array_without_class,
                    cutConnection=args.fault_cut_connection, rateLimit=args.fault_rate_limit,
                    paths=args.fault_paths, remaining=args.fault_remaining)
    files_dir = os.path.abspath(args.files) if args.files else None
    upload_dir = os.path.abspath(args.uploads) if args.uploads else files_dir
    server = RefServer(args.port, user=args.user, password=password, files_dir=files_dir,
                       upload_dir=upload_dir, fixture=vorkreplies.load_fixture(args.fixture),
                       faults=faults, tls_context=context, verbose=args.verbose)
    port = server.server_address[1]

    def stop(signum, frame):
        threading.Thread(target=server.shutdown, daemon=True).start()

    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    if args.port_file:
        tmp = args.port_file + ".tmp"
        with open(tmp, "w") as f:
            f.write(f"{port}\n")
        os.replace(tmp, args.port_file)
    print(f"listening on {server.scheme}://{HOST}:{port}", flush=True)
    try:
        server.serve_forever(poll_interval=0.2)
    finally:
        server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
