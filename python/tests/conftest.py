"""velkport-phone in another process for the tests: the program named by
VELKPORT_PHONE, or velkport-phone on PATH; the library as VELKPORT_LIBRARY
names it."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
from pathlib import Path
from typing import Iterator

import pytest


class SimulatedPhone:
    """A running velkport-phone: its device and its store directory."""

    def __init__(self, store: Path, *options: str) -> None:
        program = os.environ.get("VELKPORT_PHONE") or shutil.which("velkport-phone")
        if not program:
            pytest.fail("no velkport-phone: name it in VELKPORT_PHONE or put it on PATH")
        self.store = store
        self.process = subprocess.Popen(
            [program, "--store", str(store), *options],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        assert self.process.stdout is not None
        # The first line is the device; it comes once the phone serves.
        self.device = self.process.stdout.readline().strip()
        if not self.device:
            self.process.wait(5)
            assert self.process.stderr is not None
            pytest.fail("velkport-phone printed no device: " + self.process.stderr.read())

    def index(self) -> dict:
        return json.loads((self.store / "index.json").read_text())

    def stored(self, name: str) -> str:
        return (self.store / name).read_text()

    def stop(self) -> None:
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait(10)


@pytest.fixture
def start_phone(tmp_path: Path) -> Iterator:
    """Starts velkport-phone with the options given; each is stopped after
    the test."""
    phones: list[SimulatedPhone] = []

    def start(*options: str) -> SimulatedPhone:
        phone = SimulatedPhone(tmp_path / f"store-{len(phones)}", *options)
        phones.append(phone)
        return phone

    yield start
    for phone in phones:
        phone.stop()


@pytest.fixture
def sim(start_phone) -> SimulatedPhone:
    """A plain velkport-phone with a small phone book."""
    return start_phone("--entries", "12")
