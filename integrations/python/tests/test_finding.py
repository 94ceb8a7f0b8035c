"""Which shared library is loaded, and when."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import re
import shutil
from pathlib import Path

import pytest
from conftest import PACKAGE_FOLDER, SAMPLES

import korutex
from korutex import _finding, _paths

LIBRARY = os.environ["KORUTEX_LIBRARY"]

LOAD = """
import sys, korutex
try:
    print(korutex.load(sys.argv[1]).size)
except korutex.LibraryNotFoundError as error:
    assert isinstance(error, korutex.Error) and isinstance(error, ImportError)
    print("error:", error)
"""


def test_importing_loads_nothing(run_python):
    code = "import korutex, korutex.pillow; print(korutex.probe(b'PVR\\x03'))"
    assert run_python(code, KORUTEX_LIBRARY="/missing").stdout == "PVR version 3\n"


def test_the_environment_s_file_and_no_other(run_python, tmp_path):
    missing = tmp_path / "missing.so"
    output = run_python(
        LOAD,
        SAMPLES[0],
        KORUTEX_LIBRARY=str(missing),
        LD_LIBRARY_PATH=os.path.dirname(LIBRARY),
    ).stdout
    assert output.startswith("error: cannot load the korutex library") and str(missing) in output


def test_another_library_is_refused(run_python):
    other = ctypes.util.find_library("m")
    (path,) = [p for p in Path("/lib").glob(f"*/{other}")]
    output = run_python(LOAD, SAMPLES[0], KORUTEX_LIBRARY=str(path)).stdout
    assert output.startswith(f"error: {path} is not the korutex library")
    assert all(name in output for name in _finding.FUNCTIONS)


@pytest.mark.parametrize("name", _finding.LINUX.file_names)
def test_a_library_beside_the_package(run_python, tmp_path, name):
    folder = tmp_path / "with blank" / "korutex"
    shutil.copytree(PACKAGE_FOLDER, folder, ignore=shutil.ignore_patterns("__pycache__"))
    (folder / name).symlink_to(LIBRARY)
    output = run_python(LOAD, SAMPLES[0], KORUTEX_LIBRARY="", PYTHONPATH=str(folder.parent)).stdout
    assert output == f"{korutex.read_size(SAMPLES[0])}\n"


def test_the_system_s_library(run_python):
    output = run_python(
        LOAD, SAMPLES[0], KORUTEX_LIBRARY="", LD_LIBRARY_PATH=os.path.dirname(LIBRARY)
    ).stdout
    assert output == f"{korutex.read_size(SAMPLES[0])}\n"


def test_the_order_of_candidates(tmp_path, monkeypatch):
    monkeypatch.setattr(ctypes.util, "find_library", lambda name: f"found {name}")
    monkeypatch.delenv("KORUTEX_LIBRARY")
    (tmp_path / "libkorutex_64.so").touch()
    assert list(_finding.list_candidates(_finding.LINUX, str(tmp_path))) == [
        str(tmp_path / "libkorutex_64.so"),
        "libkorutex_64.so.0",
        "found korutex_64",
    ]
    (tmp_path / "korutex_64.dll").touch()
    on_windows = list(_finding.list_candidates(_finding.WINDOWS, str(tmp_path)))
    assert on_windows == [str(tmp_path / "korutex_64.dll"), os.path.abspath("found korutex_64")]
    monkeypatch.setenv("KORUTEX_LIBRARY", "relative.so")
    for platform in (_finding.LINUX, _finding.WINDOWS):
        assert list(_finding.list_candidates(platform, str(tmp_path))) == [
            os.path.abspath("relative.so")
        ]


def test_windows_looks_in_two_folders_only(monkeypatch):
    calls = []

    class Handle:
        def __getattr__(self, name):
            return None

    def load(path, **keywords):
        calls.append((path, keywords))
        return Handle()

    monkeypatch.setattr(ctypes, "CDLL", load)
    _finding.open_library("C:\\korutex_64.dll", _finding.WINDOWS)
    _finding.open_library("/korutex.so", _finding.LINUX)
    dll_load_dir, system32 = 0x100, 0x800
    assert calls == [
        ("C:\\korutex_64.dll", {"use_errno": True, "winmode": dll_load_dir | system32}),
        ("/korutex.so", {"use_errno": True}),
    ]


def test_the_record_is_laid_out_as_in_c():
    from korutex._record import Record

    assert ctypes.sizeof(Record) == 64
    assert (Record.reservedC.offset, Record.pixels.offset) == (40, 56)


def test_the_twelve_functions():
    header = (Path(__file__).parents[3] / "include" / "korutex.h").read_text("utf-8")
    assert set(re.findall(r"^KORU_API .*?\b(KORU_\w+)\(", header, re.M)) == set(_finding.FUNCTIONS)


def test_paths_in_utf16():
    assert _paths.to_library("a\u00e9", is_windows=False) == b"a\0\xe9\0\0\0"
    assert _paths.to_library("\U0001f600", is_windows=False) == b"\x3d\xd8\x00\xde\0\0"
    assert _paths.to_library("\udcff", is_windows=False) is None
    # Windows' names are 16-bit units, whatever they are.
    assert _paths.to_library("\ud800x", is_windows=True) == b"\0\xd8x\0\0\0"
