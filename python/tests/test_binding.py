"""The binding against the real library: server calls on the reference
server, downloads, local copies and digests."""
from __future__ import annotations

import hashlib
import os
import re
import socket
from pathlib import Path

import pytest

import vorkcommc
from conftest import RefServer


def test_version_is_the_project_version() -> None:
    expected = os.environ.get("VORK_EXPECTED_VERSION")
    assert re.fullmatch(r"\d+\.\d+\.\d+", vorkcommc.version())
    if expected:
        assert vorkcommc.version() == expected


def free_port() -> int:
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return int(s.getsockname()[1])


@pytest.mark.parametrize("password, status", [("agent-password", 0), ("wrong", 1400)])
def test_keep_alive_answers_the_server_status(refserver: RefServer, password: str, status: int) -> None:
    vorkcommc.configure_server(refserver.url, user=refserver.user, password=password)
    xml = vorkcommc.keep_alive()
    assert vorkcommc.status_code(xml) == status


def test_a_dead_server_raises() -> None:
    vorkcommc.configure_server(f"http://127.0.0.1:{free_port()}", user="agent", password="x")
    with pytest.raises(vorkcommc.ServerUnreachable) as caught:
        vorkcommc.keep_alive()
    assert vorkcommc.status_code(caught.value.xml) == 1999


def test_download_iterates_progress_and_writes_the_file(refserver: RefServer, tmp_path: Path) -> None:
    content = os.urandom(3 << 20)
    (refserver.files / "pkg.bin").write_bytes(content)
    target = tmp_path / "pkg.bin"
    with vorkcommc.HttpTransfer(f"{refserver.url}/files/pkg.bin", download_to=str(target),
                                user=refserver.user, password=refserver.password) as transfer:
        progress = list(transfer)
        assert transfer.response_code == 200
    assert progress[-1] == 100.0 and progress == sorted(progress)
    assert vorkcommc.sha512(str(target)) == hashlib.sha512(content).hexdigest()


def test_failed_transfer_raises_with_its_status(refserver: RefServer, tmp_path: Path) -> None:
    with vorkcommc.HttpTransfer(f"{refserver.url}/files/missing", download_to=str(tmp_path / "x"),
                                user=refserver.user, password=refserver.password) as transfer:
        with pytest.raises(vorkcommc.TransferError) as caught:
            transfer.wait()
    assert caught.value.response_code == 404


def test_one_transfer_at_a_time(refserver: RefServer) -> None:
    with vorkcommc.HttpTransfer(refserver.url + "/client"):
        with pytest.raises(vorkcommc.VorkCommCError):
            vorkcommc.HttpTransfer(refserver.url + "/client")


def test_copy_iterates_to_the_end(tmp_path: Path) -> None:
    source = tmp_path / "item.bin"
    source.write_bytes(os.urandom(1 << 20))
    (tmp_path / "into").mkdir()
    assert vorkcommc.has_enough_space(str(source), str(tmp_path / "into"))
    with vorkcommc.FileCopy(str(source), str(tmp_path / "into")) as copy:
        assert list(copy)[-1] == 100.0
    assert (tmp_path / "into" / "item.bin").read_bytes() == source.read_bytes()
    with pytest.raises(vorkcommc.TransferError, match="does not exist"):
        vorkcommc.FileCopy(str(tmp_path / "missing"), str(tmp_path / "into"))


@pytest.mark.parametrize("algorithm", ["md5", "sha512"])
def test_digests_match_hashlib_on_both_threads(tmp_path: Path, algorithm: str) -> None:
    path = tmp_path / "data"
    path.write_bytes(b"vork" * 10000)
    expected = hashlib.new(algorithm, path.read_bytes()).hexdigest()
    assert getattr(vorkcommc, algorithm)(str(path)) == expected
    with vorkcommc.FileHash(str(path), algorithm) as background:
        assert background.digest == expected
    with pytest.raises(vorkcommc.TransferError):
        getattr(vorkcommc, algorithm)(str(tmp_path / "missing"))
    with vorkcommc.FileHash(str(tmp_path / "missing"), algorithm) as background, \
            pytest.raises(vorkcommc.TransferError):
        background.digest
