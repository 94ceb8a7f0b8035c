"""Files that are written: their bytes, and what happens when something is in the way."""

from __future__ import annotations

import ctypes
import errno
import os
import stat
import struct
from pathlib import Path

import numpy
import pytest
from conftest import SAMPLES
from PIL import Image as PillowImage
from test_errors import not_being_root
from texture_files import GL_RGB, GL_RGBA, KTX1_MAGIC, make_ktx1, make_pixels, pad_rows

import korutex

ORIENTATION = b"KTXorientation\0S=r,T=d\0\0"


def expect_ktx(width, height, channels, pixels):
    """By the rules of KTX 1.1, not by a reader of it."""
    base = GL_RGBA if channels == 4 else GL_RGB
    payload = pad_rows(pixels, width * channels)
    return (
        KTX1_MAGIC
        + struct.pack("<6I", 0x04030201, 0x1401, 1, base, base, base)
        + struct.pack("<7I", width, height, 0, 0, 1, 1, 4 + len(ORIENTATION))
        + struct.pack("<I", 23)
        + ORIENTATION
        + struct.pack("<I", len(payload))
        + payload
    )


def expect_pvr(width, height, channels, pixels):
    payload = pad_rows(pixels, width * channels)
    return bytes(52) + struct.pack("<I", len(payload)) + payload


WRITERS = [(korutex.write_ktx, expect_ktx), (korutex.write_pvr, expect_pvr)]


@pytest.fixture(params=WRITERS, ids=["ktx", "pvr"])
def writer(request):
    return request.param


@pytest.mark.parametrize("channels", [3, 4])
@pytest.mark.parametrize("width, height", [(1, 1), (2, 3), (3, 2), (4, 4), (5, 7), (129, 65)])
def test_bytes_of_the_file(tmp_path, writer, width, height, channels):
    write, expect = writer
    pixels = make_pixels(width, height, channels)
    array = numpy.frombuffer(pixels, numpy.uint8).reshape(height, width, channels)
    path = tmp_path / "written"
    write(path, array)
    assert path.read_bytes() == expect(width, height, channels, pixels)
    assert os.listdir(tmp_path) == ["written"]


@pytest.mark.parametrize("flags", [korutex.RGB, korutex.RGBA], ids=["rgb", "rgba"])
def test_what_was_loaded_is_written_and_unchanged(sample, tmp_path, writer, flags):
    write, expect = writer
    image = korutex.load(sample, flags)
    view, before = image.pixels, image.tobytes()
    write(tmp_path / "written", image)
    expected = expect(*image.size, image.channels, before)
    assert (tmp_path / "written").read_bytes() == expected
    assert image.tobytes() == view.tobytes() == before
    assert image.stride == image.width * image.channels
    write(tmp_path / "written", view)
    assert (tmp_path / "written").read_bytes() == expected


@pytest.mark.parametrize("flags", [korutex.RGB, korutex.RGBA], ids=["rgb", "rgba"])
def test_ktx_is_read_back(tmp_path, flags):
    image = korutex.load(SAMPLES[0], flags)
    korutex.write_ktx(tmp_path / "x.ktx", image)
    again = korutex.load(tmp_path / "x.ktx", flags)
    assert (again.size, again.tobytes()) == (image.size, image.tobytes())


def test_pvr_is_not_read_back(tmp_path):
    korutex.write_pvr(tmp_path / "x.pvr", korutex.load(SAMPLES[0]))
    assert korutex.probe(tmp_path / "x.pvr") is None


class ArrayInterface:
    def __init__(self, **interface):
        self.__array_interface__ = {"version": 3, "typestr": "|u1", **interface}


def list_sources(pixels: bytes, channels: int):
    array = numpy.frombuffer(pixels, numpy.uint8).reshape(5, 6, channels)
    mode = "RGBA" if channels == 4 else "RGB"
    by_address = ArrayInterface(shape=array.shape, data=(array.ctypes.data, True), strides=None)
    by_address.keep = array
    wide = numpy.zeros((5, 12, channels), numpy.uint8)
    wide[:, ::2] = array
    return {
        "numpy": array,
        "upside down": array[::-1].copy()[::-1],
        "every second column": wide[:, ::2],
        "Fortran order": numpy.asfortranarray(array),
        "memoryview": memoryview(pixels).cast("B", (5, 6, channels)),
        "ctypes": (ctypes.c_ubyte * channels * 6 * 5).from_buffer_copy(pixels),
        "Pillow": PillowImage.frombytes(mode, (6, 5), pixels),
        "korutex": korutex.load(make_ktx1(6, 5, pixels, channels), 2 if channels == 4 else 0),
        "interface of an address": by_address,
        "interface of bytes": ArrayInterface(
            shape=(5, 6, channels),
            data=b"abc" + pixels,
            offset=3,
            strides=(6 * channels, channels, 1),
        ),
    }


@pytest.mark.parametrize("channels", [3, 4])
@pytest.mark.parametrize("name", list_sources(make_pixels(6, 5, 4), 4))
def test_every_kind_of_source(tmp_path, writer, name, channels):
    write, expect = writer
    pixels = make_pixels(6, 5, channels)
    source = list_sources(pixels, channels)[name]
    write(tmp_path / "x", source)
    assert (tmp_path / "x").read_bytes() == expect(6, 5, channels, pixels)
    again = list_sources(pixels, channels)[name]
    if name not in ("Pillow", "korutex") and not name.startswith("interface"):
        assert memoryview(source).tobytes() == memoryview(again).tobytes() == pixels


def test_rgba_pixels_are_not_copied(tmp_path, library):
    array = numpy.zeros((4, 4, 4), numpy.uint8)
    write, seen = library._write["KTX"], []

    def note(path, record):
        seen.append(record.pixels)
        return write(path, record)

    library._write["KTX"] = note
    korutex.write_ktx(tmp_path / "x.ktx", array)
    assert seen == [array.ctypes.data]


def test_rgb_pixels_are_in_memory_of_the_library(tmp_path, library, deleted):
    """The writer frees the pixels that it gets, so they cannot be the caller's."""
    array = numpy.full((5, 5, 3), 7, numpy.uint8)
    write, seen = library._write["KTX"], []

    def note(path, record):
        before = record.pixels
        result = write(path, record)
        seen.append((before != array.ctypes.data, record.stride, ctypes.addressof(record)))
        return result

    library._write["KTX"] = note
    korutex.write_ktx(tmp_path / "x.ktx", array)
    assert [seen[0][:2], deleted] == [(True, 16), [seen[0][2]]]
    assert (array == 7).all()


def test_many_writes_leave_the_heap_whole(run_python, tmp_path):
    """The C library checks its heap with this, and ends the process when it is not whole."""
    code = """
import sys, numpy, korutex
for size in (1, 2, 3, 5, 31, 64, 257):
    for channels in (3, 4):
        array = numpy.full((size, size, channels), size, numpy.uint8)
        image = korutex.load(sys.argv[2], korutex.RGB if channels == 3 else korutex.RGBA)
        for source in (array, image):
            korutex.write_ktx(sys.argv[1] + "/x.ktx", source)
            korutex.write_pvr(sys.argv[1] + "/x.pvr", source)
        assert (korutex.load(sys.argv[1] + "/x.ktx").size) == image.size
"""
    checks = os.environ.get("LD_PRELOAD", "libc_malloc_debug.so.0")
    run_python(
        code, tmp_path, SAMPLES[0], LD_PRELOAD=checks, MALLOC_CHECK_="3", MALLOC_PERTURB_="165"
    )


@pytest.mark.parametrize(
    "source, kind",
    [
        (None, TypeError),
        ("a path", TypeError),
        (b"RGB" * 4, TypeError),
        (numpy.zeros((4, 4), numpy.uint8), TypeError),
        (numpy.zeros((4, 4, 2), numpy.uint8), TypeError),
        (numpy.zeros((4, 4, 4), numpy.float32), TypeError),
        (numpy.zeros((4, 4, 4), numpy.int8), TypeError),
        (numpy.zeros((0, 4, 4), numpy.uint8), ValueError),
        (PillowImage.new("L", (4, 4)), TypeError),
        (PillowImage.new("CMYK", (4, 4)), TypeError),
        (PillowImage.new("HSV", (4, 4)), TypeError),
        (ArrayInterface(shape=(2, 2, 4), data=bytes(15)), ValueError),
        (ArrayInterface(shape=(2, 2, 4), data=bytes(32), strides=(16, 8, 2)), TypeError),
        (ArrayInterface(shape=(0, 2, 4), data=b""), ValueError),
    ],
)
def test_what_is_no_image(tmp_path, writer, source, kind):
    path = tmp_path / "kept"
    path.write_bytes(b"as it was")
    with pytest.raises(kind):
        writer[0](path, source)
    assert path.read_bytes() == b"as it was"
    assert os.listdir(tmp_path) == ["kept"]


def test_images_without_pixels(tmp_path):
    header = korutex.load(SAMPLES[0], korutex.HEADER_ONLY)
    closed = korutex.load(SAMPLES[0])
    closed.close()
    for image in (header, closed):
        with pytest.raises(ValueError):
            korutex.write_ktx(tmp_path / "x.ktx", image)
    assert os.listdir(tmp_path) == []


def test_images_of_4_gib(tmp_path):
    huge = ArrayInterface(shape=(1 << 15, 1 << 15, 4), data=(0, True))
    with pytest.raises(ValueError, match="4 GiB"):
        korutex.write_ktx(tmp_path / "x.ktx", huge)
    assert os.listdir(tmp_path) == []


IMAGE = numpy.frombuffer(make_pixels(300, 200, 4), numpy.uint8).reshape(200, 300, 4)


def test_an_old_file_is_replaced_and_its_permissions_kept(tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(b"old")
    path.chmod(0o640)
    korutex.write_ktx(path, IMAGE)
    assert korutex.load(path).tobytes() == IMAGE.tobytes()
    assert stat.S_IMODE(path.stat().st_mode) == 0o640


def test_a_new_file_has_the_usual_permissions(tmp_path):
    mask = os.umask(0o027)
    try:
        korutex.write_ktx(tmp_path / "x.ktx", IMAGE)
    finally:
        os.umask(mask)
    assert stat.S_IMODE((tmp_path / "x.ktx").stat().st_mode) == 0o640


def test_a_link_stays_a_link(tmp_path):
    (tmp_path / "elsewhere").mkdir()
    target = tmp_path / "elsewhere" / "target.ktx"
    target.write_bytes(b"old")
    link = tmp_path / "link.ktx"
    link.symlink_to("elsewhere/target.ktx")
    korutex.write_ktx(link, IMAGE)
    assert link.is_symlink()
    assert korutex.load(target).tobytes() == IMAGE.tobytes()
    assert os.listdir(target.parent) == ["target.ktx"]


@pytest.mark.parametrize("name", ["\u00e9\U0001f600.ktx", os.fsdecode(b"\xff\xfe.ktx")])
def test_names_of_any_kind(tmp_path, name):
    korutex.write_ktx(tmp_path / name, IMAGE)
    assert os.listdir(tmp_path) == [name]
    assert korutex.load(tmp_path / name).tobytes() == IMAGE.tobytes()


@pytest.mark.parametrize("channels", [3, 4])
def test_a_folder_whose_name_is_no_text(tmp_path, writer, channels):
    write, expect = writer
    folder = tmp_path / os.fsdecode(b"\xff\xfe")
    folder.mkdir()
    image = IMAGE[:, :, :channels]
    write(folder / "x", image)
    assert os.listdir(folder) == ["x"]
    assert (folder / "x").read_bytes() == expect(300, 200, channels, image.tobytes())


def test_no_such_folder(tmp_path):
    path = tmp_path / "missing" / "x.ktx"
    with pytest.raises(FileNotFoundError) as caught:
        korutex.write_ktx(path, IMAGE)
    assert caught.value.filename == str(path)


def test_a_folder_in_the_way(tmp_path):
    (tmp_path / "x.ktx").mkdir()
    with pytest.raises(IsADirectoryError):
        korutex.write_ktx(tmp_path / "x.ktx", IMAGE)
    assert os.listdir(tmp_path) == ["x.ktx"]


@pytest.mark.parametrize("name, kind", [("", FileNotFoundError), ("x/", IsADirectoryError)])
def test_names_that_no_file_can_have(tmp_path, monkeypatch, writer, name, kind):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(kind) as caught:
        writer[0](name, numpy.zeros((2, 2, 4), numpy.uint8))
    assert caught.value.filename == name
    with pytest.raises(kind):
        open(name, "wb")
    assert os.listdir(tmp_path) == []


def test_a_pipe_is_not_replaced(tmp_path):
    os.mkfifo(tmp_path / "pipe")
    with pytest.raises(OSError) as caught:
        korutex.write_ktx(tmp_path / "pipe", IMAGE)
    assert caught.value.errno == errno.EINVAL
    assert (tmp_path / "pipe").is_fifo() and os.listdir(tmp_path) == ["pipe"]


def test_a_file_that_may_not_be_written(tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(b"as it was")
    path.chmod(0o444)
    tmp_path.chmod(0o777)
    with not_being_root(), pytest.raises(PermissionError):
        korutex.write_ktx(path, IMAGE)
    assert path.read_bytes() == b"as it was"
    assert os.listdir(tmp_path) == ["x.ktx"]


def test_a_folder_that_may_not_be_written(tmp_path):
    folder = tmp_path / "locked"
    folder.mkdir(mode=0o555)
    with not_being_root(), pytest.raises(PermissionError) as caught:
        korutex.write_ktx(folder / "x.ktx", IMAGE)
    assert caught.value.filename == str(folder / "x.ktx")


def test_a_full_disk(run_python, tmp_path):
    """A limit of file sizes stands for it: the write ends early, with an errno."""
    path = tmp_path / "x.ktx"
    path.write_bytes(b"as it was")
    code = """
import os, resource, signal, sys, numpy, korutex
signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
resource.setrlimit(resource.RLIMIT_FSIZE, (5000, 5000))
for channels in (3, 4):
    for write in (korutex.write_ktx, korutex.write_pvr):
        try:
            write(sys.argv[1], numpy.zeros((100, 100, channels), numpy.uint8))
        except korutex.WriteError as error:
            assert isinstance(error, OSError) and isinstance(error, korutex.Error)
            print(error.errno, error.filename)
print(os.listdir(os.path.dirname(sys.argv[1])))
"""
    lines = run_python(code, path).stdout.splitlines()
    assert lines == [f"{errno.EFBIG} {path}"] * 4 + ["['x.ktx']"]
    assert path.read_bytes() == b"as it was"


@pytest.mark.parametrize("failure", [KeyboardInterrupt, MemoryError])
def test_an_interrupted_write(tmp_path, library, failure):
    path = tmp_path / "x.ktx"
    path.write_bytes(b"as it was")

    def interrupt(target, record):
        folder = Path(target[:-2].decode("utf-16-le")).parent
        assert len(os.listdir(folder)) == 2
        raise failure

    library._write["KTX"] = interrupt
    for channels in (3, 4):
        with pytest.raises(failure):
            korutex.write_ktx(path, IMAGE[:, :, :channels])
    assert path.read_bytes() == b"as it was"
    assert os.listdir(tmp_path) == ["x.ktx"]


def test_success_that_left_too_few_bytes(tmp_path, library):
    """A disk that is full when the file is closed: the library does not look."""
    library._write["KTX"] = lambda path, record: 1
    with pytest.raises(korutex.WriteError) as caught:
        korutex.write_ktx(tmp_path / "x.ktx", IMAGE)
    assert caught.value.errno == errno.EIO
    assert os.listdir(tmp_path) == []
