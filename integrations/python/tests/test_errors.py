"""Files that do not open: which exception, and what it says."""

from __future__ import annotations

import contextlib
import io
import mmap
import os
import struct
from pathlib import Path

import pytest
from conftest import SAMPLES
from test_loading import SMALL_FILES
from texture_files import KTX2_MAGIC, make_astc, make_blank_ktx1, make_ktx1, make_pixels, make_pvr3

import korutex


@contextlib.contextmanager
def not_being_root():
    """Root may read everything."""
    if os.geteuid() != 0:
        yield
        return
    os.seteuid(65534)
    try:
        yield
    finally:
        os.seteuid(0)


def expect_os_error(kind, path):
    for use in (korutex.load, korutex.probe, korutex.read_size):
        with pytest.raises(kind) as caught:
            use(path)
        assert not isinstance(caught.value, korutex.Error)
        assert caught.value.filename == os.fspath(path)


def test_no_such_file(tmp_path):
    expect_os_error(FileNotFoundError, tmp_path / "missing.ktx")


def test_a_folder(tmp_path):
    expect_os_error(IsADirectoryError, tmp_path)


def test_no_permission(tmp_path):
    path = tmp_path / "private.ktx"
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    path.chmod(0)
    with not_being_root():
        expect_os_error(PermissionError, path)


def test_a_pipe_is_not_waited_for(tmp_path):
    os.mkfifo(tmp_path / "pipe")
    expect_os_error(OSError, tmp_path / "pipe")


def test_a_path_with_a_null():
    with pytest.raises(ValueError, match="null"):
        korutex.load("a\0b.ktx")


@pytest.mark.parametrize("source", [None, 5, ["a.ktx"], object()])
def test_what_is_no_source(source):
    for use in (korutex.load, korutex.probe):
        with pytest.raises(TypeError, match="bytes-like"):
            use(source)


def test_a_file_object_is_refused_with_a_hint():
    with pytest.raises(TypeError, match=r"read\(\)"):
        korutex.load(io.BytesIO(SMALL_FILES["KTX 1.1"][0]))


def check(kind, source, name, *words):
    with pytest.raises(kind) as caught:
        korutex.load(source)
    text = str(caught.value)
    assert text.startswith(f"{name}: ")
    for word in words:
        assert word in text
    assert isinstance(caught.value, (korutex.Error, MemoryError))


def check_both_ways(tmp_path, contents, *words, kind=korutex.DecodeError):
    path = tmp_path / "file.bin"
    path.write_bytes(contents)
    check(kind, contents, "<memory>", *words)
    check(kind, path, path, *words)


def test_an_empty_file(tmp_path):
    check_both_ways(tmp_path, b"", "is empty", kind=korutex.UnsupportedFileError)


def test_another_format(tmp_path):
    check_both_ways(
        tmp_path,
        b"\x89PNG\r\n\x1a\n" + bytes(100),
        "not an ASTC, KTX or PVR file",
        kind=korutex.UnsupportedFileError,
    )


def test_both_are_value_errors():
    for kind in (korutex.UnsupportedFileError, korutex.DecodeError):
        assert issubclass(kind, korutex.Error) and issubclass(kind, ValueError)


def change(contents: bytes, offset: int, new: bytes) -> bytes:
    return contents[:offset] + new + contents[offset + len(new) :]


ASTC = make_astc(5, 3, (1, 2, 3, 4))
KTX1 = SMALL_FILES["KTX 1.1"][0]


@pytest.mark.parametrize(
    "contents, words",
    [
        (ASTC[:10], ("ASTC", "cut off", "10 bytes", "header of 16")),
        (ASTC[:-1], ("cut off", "31 bytes", "5 x 3 take 32")),
        (change(ASTC, 13, b"\2"), ("volume of 2 slices",)),
        (change(ASTC, 7, bytes(3)), ("0 x 3 x 1 pixels",)),
        (KTX1[:63], ("KTX 1.1", "cut off", "header of 64")),
        (KTX1[:-1], ("damaged or cut off",)),
        (change(KTX1, 12, b"\1\1\1\1"), ("its header is damaged",)),
        (change(KTX1, 12, b"\4\3\2\1"), ("big-endian",)),
        (change(KTX1, 28, b"\xff\xff\0\0"), ("a format or a size that korutex does not decode",)),
        (change(KTX1, 36, bytes(4)), ("a width of 0",)),
        (KTX2_MAGIC + bytes(20), ("KTX 2.0", "header of 80")),
        (KTX2_MAGIC + struct.pack("<9I", 37, 1, 4, 4, 0, 0, 1, 1, 2) + bytes(80), ("scheme 2",)),
        (b"QOZM", ("QOZM-wrapped KTX", "cut off")),
        (b"QOZM" + bytes(100), ("QOZM-wrapped KTX", "damaged")),
        (b"PVR\3" + bytes(40), ("PVR version 3", "header of 52")),
        (make_pvr3(0, 3, bytes(60)), ("0 x 3 pixels",)),
        (SMALL_FILES["PVR legacy"][0][:50], ("PVR legacy", "header of 52")),
        (SMALL_FILES["PVR legacy"][0][:-1], ("PVR legacy", "damaged or cut off")),
    ],
    ids=lambda value: value[-1] if isinstance(value, tuple) else f"{len(value)} bytes",
)
def test_what_a_header_shows_is_said(tmp_path, contents, words):
    check_both_ways(tmp_path, contents, *words)


@pytest.mark.parametrize("name", SMALL_FILES)
def test_every_truncation_of_small_files(name):
    contents = SMALL_FILES[name][0]
    for size in range(len(contents)):
        with pytest.raises((korutex.UnsupportedFileError, korutex.DecodeError)):
            korutex.load(contents[:size])


def test_truncations_of_samples(sample, tmp_path):
    contents = sample.read_bytes()
    path = tmp_path / "cut"
    for size in (1, 15, 16, 63, 64, 79, 80, 100, len(contents) // 2):
        path.write_bytes(contents[:size])
        for source in (path, contents[:size]):
            with pytest.raises((korutex.UnsupportedFileError, korutex.DecodeError)):
                korutex.load(source)
    assert len(korutex.load(contents).tobytes()) > 0


def test_a_failure_is_no_obstacle_for_the_next_load():
    for _ in range(3):
        with pytest.raises(korutex.DecodeError):
            korutex.load(KTX1[:-1])
        assert korutex.load(KTX1).tobytes() == SMALL_FILES["KTX 1.1"][1]


def test_files_of_4_gib(tmp_path):
    path = tmp_path / "huge.ktx"
    with open(path, "wb") as file:
        file.write(KTX1)
        file.truncate(1 << 32)  # takes no space
    check(korutex.UnsupportedFileError, path, path, "4294967296 bytes", "less than 4 GiB")
    with open(path, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as mapped:
        check(korutex.UnsupportedFileError, mapped, "<memory>", "less than 4 GiB")


def test_sizes_that_lie(tmp_path):
    """No blocks, and pixels of 4 GiB and more."""
    check_both_ways(tmp_path, make_blank_ktx1(65535, 65535), "damaged or cut off")


# An address sanitizer needs its address space.
@pytest.mark.skipif("libasan" in os.environ.get("LD_PRELOAD", ""), reason="limits memory")
def test_no_memory(run_python, tmp_path):
    path = tmp_path / "claims much.ktx"
    path.write_bytes(make_blank_ktx1(20000, 20000))
    code = """
import resource, sys, korutex
korutex.read_size(sys.argv[2])
limit = 512 << 20
resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
for source in (sys.argv[1], open(sys.argv[1], "rb").read()):
    try:
        korutex.load(source)
    except MemoryError as error:
        print(error)
print(korutex.load(sys.argv[2]).size)
"""
    lines = run_python(code, path, SAMPLES[0]).stdout.splitlines()
    assert lines[0] == f"{path}: no memory to decode the KTX 1.1 file"
    assert lines[1].startswith("<memory>: no memory") and len(lines) == 3
