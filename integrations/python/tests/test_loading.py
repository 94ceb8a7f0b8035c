"""Files and contents become the right pixels."""

from __future__ import annotations

import array
import mmap
import os
import subprocess
from pathlib import Path

import numpy
import pytest
from PIL import Image as PillowImage
from texture_files import (
    make_astc,
    make_blank_ktx1,
    make_ktx1,
    make_pixels,
    make_pvr3,
    make_pvr_legacy,
)

import korutex

WIDTH, HEIGHT = 5, 3
PIXELS = make_pixels(WIDTH, HEIGHT, 4)
OPAQUE = bytes(byte if i % 4 != 3 else 255 for i, byte in enumerate(PIXELS))
WITHOUT_ALPHA = bytes(byte for i, byte in enumerate(PIXELS) if i % 4 != 3)

SMALL_FILES = {
    "ASTC": (make_astc(WIDTH, HEIGHT, (1, 2, 3, 4)), bytes([1, 2, 3, 4]) * (WIDTH * HEIGHT)),
    "KTX 1.1": (make_ktx1(WIDTH, HEIGHT, PIXELS), PIXELS),
    "PVR version 3": (make_pvr3(WIDTH, HEIGHT, PIXELS), PIXELS),
    "PVR legacy": (make_pvr_legacy(WIDTH, HEIGHT, 18, PIXELS), PIXELS),
}


@pytest.fixture(params=SMALL_FILES.items(), ids=lambda item: item[0])
def small_file(request):
    name, (contents, pixels) = request.param
    return name, contents, pixels


@pytest.mark.parametrize("rgb", [False, True], ids=["rgba", "rgb"])
def test_samples_are_what_the_host_program_converts(sample, tmp_path, korutex_program, rgb):
    png = tmp_path / "expected.png"
    options = ["--rgb"] if rgb else []
    subprocess.run(
        [korutex_program, "convert", *options, sample, "-o", png], check=True, capture_output=True
    )
    with PillowImage.open(png) as opened:
        expected = numpy.asarray(opened.convert("RGB" if rgb else "RGBA"))
    flags = korutex.RGB if rgb else korutex.RGBA
    for source in (sample, str(sample), sample.read_bytes()):
        image = korutex.load(source, flags)
        assert image.mode == ("RGB" if rgb else "RGBA")
        assert image.size == (expected.shape[1], expected.shape[0])
        numpy.testing.assert_array_equal(numpy.asarray(image), expected)


def test_small_files_by_path_and_by_contents(small_file, tmp_path):
    name, contents, pixels = small_file
    path = tmp_path / "named wrongly.png"
    path.write_bytes(contents)
    for source in (contents, path, str(path)):
        image = korutex.load(source)
        assert (image.container, korutex.probe(source)) == (name, name)
        assert (image.width, image.height, image.size) == (WIDTH, HEIGHT, (WIDTH, HEIGHT))
        assert (image.mode, image.channels, image.stride) == ("RGBA", 4, WIDTH * 4)
        assert image.has_pixels and not image.closed
        assert image.tobytes() == pixels


def test_rgb_leaves_alpha_out():
    image = korutex.load(make_ktx1(WIDTH, HEIGHT, PIXELS), korutex.RGB)
    assert (image.mode, image.channels, image.stride) == ("RGB", 3, WIDTH * 3)
    assert image.tobytes() == WITHOUT_ALPHA


def test_rgba_of_an_image_without_alpha_is_opaque():
    contents = make_ktx1(WIDTH, HEIGHT, WITHOUT_ALPHA, channels=3)
    assert korutex.load(contents).tobytes() == OPAQUE


@pytest.mark.parametrize("flags", [korutex.HEADER_ONLY, korutex.HEADER_ONLY | korutex.RGBA])
def test_header_only_gives_sizes(small_file, flags, deleted):
    _, contents, _ = small_file
    image = korutex.load(contents, flags)
    assert (image.size, image.mode, image.has_pixels) == ((WIDTH, HEIGHT), "RGB", False)
    for look in (lambda: image.pixels, image.tobytes, lambda: numpy.asarray(image)):
        with pytest.raises(ValueError, match="without pixels"):
            look()
    assert len(deleted) == 1


def test_read_size(sample):
    assert korutex.read_size(sample) == korutex.load(sample).size
    assert korutex.read_size(sample.read_bytes()) == korutex.load(sample).size


def test_read_size_of_a_header_that_claims_much_decodes_nothing():
    assert korutex.read_size(make_blank_ktx1(8000, 8000)) == (8000, 8000)


@pytest.mark.parametrize("flags", [4, -1, 1 << 40])
def test_unknown_flags_are_refused(flags):
    with pytest.raises(ValueError, match="flags"):
        korutex.load(SMALL_FILES["KTX 1.1"][0], flags)


def list_buffers(contents: bytes):
    aligned = contents + bytes(-len(contents) % 4)
    yield "bytes", contents
    yield "bytearray", bytearray(contents)
    yield "read-only memoryview", memoryview(contents)
    yield "part of a memoryview", memoryview(b"xyz" + contents + b"xyz")[3:-3]
    yield "array of 32-bit numbers", array.array("I", aligned)
    yield "numpy", numpy.frombuffer(bytearray(contents), numpy.uint8)
    yield "read-only numpy", numpy.frombuffer(contents, numpy.uint8)
    yield "two-dimensional numpy", numpy.frombuffer(aligned, numpy.uint8).reshape(-1, 4)


@pytest.mark.parametrize(
    "source",
    [pytest.param(b, id=name) for name, b in list_buffers(SMALL_FILES["KTX 1.1"][0])],
)
def test_any_contiguous_buffer(source):
    before = bytes(memoryview(source).cast("B"))
    assert korutex.load(source).tobytes() == PIXELS
    assert korutex.probe(source) == "KTX 1.1"
    assert bytes(memoryview(source).cast("B")) == before


@pytest.mark.parametrize("access", [mmap.ACCESS_READ, mmap.ACCESS_COPY, mmap.ACCESS_WRITE])
def test_mapped_files(tmp_path, access):
    path = tmp_path / "mapped"
    path.write_bytes(SMALL_FILES["ASTC"][0])
    with open(path, "r+b") as file, mmap.mmap(file.fileno(), 0, access=access) as mapped:
        assert korutex.load(mapped).tobytes() == SMALL_FILES["ASTC"][1]
    # Closing it above would have failed if anything still held it.


def test_contents_are_not_copied(library):
    contents = numpy.frombuffer(SMALL_FILES["KTX 1.1"][0], numpy.uint8)
    load, seen = library._load_memory["KTX"], []

    def note(address, size, flags):
        seen.append((address, size))
        return load(address, size, flags)

    library._load_memory["KTX"] = note
    korutex.load(contents)
    korutex.load(contents[:].data)
    assert seen == [(contents.ctypes.data, contents.nbytes)] * 2


def test_contents_cannot_be_resized_meanwhile(library):
    contents = bytearray(SMALL_FILES["KTX 1.1"][0])
    load = library._load_memory["KTX"]

    def grow(address, size, flags):
        with pytest.raises(BufferError):
            contents.extend(bytes(100))
        return load(address, size, flags)

    library._load_memory["KTX"] = grow
    assert korutex.load(contents).tobytes() == PIXELS
    contents.extend(bytes(100))


def test_buffers_in_pieces_are_refused():
    contents = numpy.frombuffer(SMALL_FILES["KTX 1.1"][0], numpy.uint8)
    with pytest.raises(BufferError):
        korutex.load(contents[::2])


@pytest.mark.parametrize(
    "name",
    ["plain.ktx", "with blank.ktx", "gr\u00fc\u00dfe.ktx", "\u65e5\u672c.ktx", "\U0001f600.ktx"],
)
def test_names_that_the_library_opens_itself(tmp_path, library, name):
    path = tmp_path / name
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    load, calls = library._load_file["KTX"], []
    library._load_file["KTX"] = lambda *arguments: calls.append(1) or load(*arguments)
    assert korutex.load(path).tobytes() == PIXELS
    assert calls == [1]


@pytest.mark.parametrize("name", [b"caf\xe9.ktx", b"\xff\xfe.ktx", b"\xed\xa0\x80.ktx"])
def test_names_that_are_no_text(tmp_path, name):
    path = os.fsdecode(os.fsencode(tmp_path) + b"/" + name)
    Path(path).write_bytes(SMALL_FILES["KTX 1.1"][0])
    assert korutex.load(path).tobytes() == PIXELS
    assert korutex.probe(path) == "KTX 1.1"
    Path(path).write_bytes(SMALL_FILES["KTX 1.1"][0][:70])
    with pytest.raises(korutex.DecodeError) as caught:
        korutex.load(path)
    str(caught.value).encode("utf-8")  # can be printed


def test_names_where_python_does_not_speak_utf8(tmp_path, run_python):
    path = tmp_path / "gr\u00fc\u00dfe.ktx"
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    code = """
import glob, sys, korutex
assert sys.getfilesystemencoding() == "ascii", sys.getfilesystemencoding()
(path,) = glob.glob(sys.argv[1] + "/*.ktx")
print(korutex.load(path).tobytes().hex())
"""
    process = run_python(
        code, tmp_path, LC_ALL="POSIX", PYTHONUTF8="0", PYTHONCOERCECLOCALE="0"
    )
    assert bytes.fromhex(process.stdout) == PIXELS


class BytesPath:
    """os.PathLike may give bytes."""

    def __init__(self, path: Path) -> None:
        self._path = path

    def __fspath__(self) -> bytes:
        return os.fsencode(self._path)


def test_paths_that_are_bytes(tmp_path):
    path = tmp_path / "x"
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    assert korutex.load(BytesPath(path)).tobytes() == PIXELS


@pytest.mark.parametrize(
    "contents", [b"", b"KTX 11", bytes(48) + b"PVR!", b"\x89PNG\r\n\x1a\n", b"PVR\x02", bytes(100)]
)
def test_probe_of_other_files(tmp_path, contents):
    path = tmp_path / "other.ktx"
    path.write_bytes(contents)
    assert korutex.probe(contents) is None
    assert korutex.probe(path) is None


def test_probe_of_nothing_in_any_shape():
    assert korutex.probe(numpy.zeros((0, 3), numpy.uint8)) is None


def test_probe_of_a_wrapped_file():
    assert korutex.probe(b"QOZM" + bytes(10)) == "QOZM-wrapped KTX"
