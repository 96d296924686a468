"""Fixtures: the reference server on 127.0.0.1 in a temporary folder."""
from __future__ import annotations

import os
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path
from typing import Iterator

import pytest

SOURCE_DIR = Path(os.environ.get("VORK_SOURCE_DIR", Path(__file__).resolve().parents[2]))
REFSERVER = SOURCE_DIR / "tools" / "refserver" / "refserver.py"


@dataclass
class RefServer:
    url: str
    files: Path
    user: str = "agent"
    password: str = "agent-password"


@pytest.fixture(scope="session")
def refserver(tmp_path_factory: pytest.TempPathFactory) -> Iterator[RefServer]:
    folder = tmp_path_factory.mktemp("refserver")
    (folder / "files").mkdir()
    (folder / "password").write_text("agent-password\n")
    port_file = folder / "port"
    python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
    process = subprocess.Popen(
        [python, str(REFSERVER), "--port", "0", "--port-file", str(port_file), "--files", str(folder / "files"),
         "--user", "agent", "--password-file", str(folder / "password")],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    deadline = time.monotonic() + 30
    while not port_file.exists() and time.monotonic() < deadline and process.poll() is None:
        time.sleep(0.05)
    if not port_file.exists():
        process.kill()
        pytest.fail("the reference server did not start")
    try:
        yield RefServer(f"http://127.0.0.1:{port_file.read_text().strip()}", folder / "files")
    finally:
        process.terminate()
        process.wait(10)
