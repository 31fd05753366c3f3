"""The ctypes records against the C header: a small C program built from
include/velkport.h prints each field's offset and each record's size, and
ctypes must give the same, or every record read through the package is
garbage."""

from __future__ import annotations

import ctypes
import os
import shutil
import subprocess
from pathlib import Path

import pytest

from velkport import _native

RECORDS = [
    _native.VelkWindowMessage,
    _native.MidInfoRecord,
    _native.MidRecord,
    _native.AnimInfoRecord,
    _native.AnimRecord,
]

HEADER_DIR = Path(os.environ.get("VELKPORT_INCLUDE", Path(__file__).parents[2] / "include"))


def probe_source() -> str:
    lines = ["#include <stddef.h>", "#include <stdio.h>", '#include "velkport.h"']
    lines.append("int main(void) {")
    for record in RECORDS:
        name = record.__name__
        lines.append(f'    printf("{name} %zu\\n", sizeof({name}));')
        for field, _ in record._fields_:
            lines.append(f'    printf("{name}.{field} %zu\\n", offsetof({name}, {field}));')
    lines += ["    return 0;", "}"]
    return "\n".join(lines) + "\n"


def ctypes_layout() -> str:
    lines = []
    for record in RECORDS:
        lines.append(f"{record.__name__} {ctypes.sizeof(record)}")
        for field, _ in record._fields_:
            lines.append(f"{record.__name__}.{field} {getattr(record, field).offset}")
    return "\n".join(lines) + "\n"


def test_records_have_the_header_s_layout(tmp_path: Path) -> None:
    compiler = os.environ.get("CC") or shutil.which("cc") or shutil.which("gcc")
    if not compiler or not (HEADER_DIR / "velkport.h").exists():
        pytest.skip("no C compiler or no velkport.h to compare the records with")
    source = tmp_path / "probe.c"
    source.write_text(probe_source())
    program = tmp_path / "probe"
    build = [compiler, "-std=c99", f"-I{HEADER_DIR}", str(source), "-o", str(program)]
    subprocess.run(build, check=True)
    printed = subprocess.run([str(program)], check=True, capture_output=True, text=True).stdout
    assert ctypes_layout() == printed


def test_every_export_of_the_header_has_a_prototype() -> None:
    header = (HEADER_DIR / "velkport.h").read_text()
    declared = {
        word.split("(")[0] for word in header.split() if word.startswith("velk_") and "(" in word
    }
    assert declared == set(_native._PROTOTYPES)
