"""The Pillow plug-in, as programs of Pillow use it."""

from __future__ import annotations

import gc
import io
import os
import pickle
import warnings

import numpy
import pytest
from conftest import SAMPLES
from PIL import Image, ImageChops, UnidentifiedImageError
from test_loading import HEIGHT, PIXELS, SMALL_FILES, WIDTH
from texture_files import make_blank_ktx1, make_ktx1, make_pixels, make_pvr3, make_pvr_legacy

import korutex
import korutex.pillow

MIME_TYPES = {
    "ASTC": "image/astc",
    "KTX 1.1": "image/ktx",
    "KTX 2.0": "image/ktx2",
    "PVR version 3": "image/x-pvr",
    "PVR legacy": "image/x-pvr",
}


def open_all_ways(path):
    """The same file by its name, and as file objects of several kinds."""
    yield Image.open(path)
    yield Image.open(str(path))
    yield Image.open(io.BytesIO(path.read_bytes()))
    with open(path, "rb") as file:
        yield Image.open(file)


def test_samples(sample):
    expected = korutex.load(sample)
    for image in open_all_ways(sample):
        assert image.format == expected.container.split()[0]
        assert (image.mode, image.size) == ("RGBA", expected.size)
        assert image.info["container"] == expected.container
        assert image.get_format_mimetype() == MIME_TYPES[expected.container]
        assert image.tobytes() == expected.tobytes()
        numpy.testing.assert_array_equal(numpy.asarray(image), numpy.asarray(expected))


@pytest.mark.parametrize("name", SMALL_FILES)
def test_names_do_not_matter(tmp_path, name):
    contents, pixels = SMALL_FILES[name]
    path = tmp_path / "named wrongly.jpg"
    path.write_bytes(contents)
    for image in open_all_ways(path):
        assert (image.format, image.size) == (name.split()[0], (WIDTH, HEIGHT))
        assert image.tobytes() == pixels


def test_files_without_alpha_are_rgba_too():
    contents = make_ktx1(2, 1, bytes([1, 2, 3, 4, 5, 6]), channels=3)
    image = Image.open(io.BytesIO(contents))
    assert image.mode == "RGBA"
    assert list(image.getdata()) == [(1, 2, 3, 255), (4, 5, 6, 255)]


def test_opening_decodes_nothing(library, tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    load, flags_seen = library._load_memory["KTX"], []
    library._load_memory["KTX"] = lambda *a: flags_seen.append(a[2]) or load(*a)
    with Image.open(path) as image:
        assert image.size == (WIDTH, HEIGHT)
        assert flags_seen == [korutex.HEADER_ONLY]
        image.load()
        image.load()
        image.getpixel((0, 0))
    assert flags_seen == [korutex.HEADER_ONLY, korutex.RGBA]


def test_pixels_are_not_copied(library, deleted):
    """Pillow's image is the record's memory, and gives it back."""
    before = len(deleted)
    image = Image.open(io.BytesIO(SMALL_FILES["KTX 1.1"][0]))
    image.load()
    gc.collect()
    assert len(deleted) == before + 1  # that of the size
    assert image.tobytes() == PIXELS
    del image
    gc.collect()
    assert len(deleted) == before + 2


def test_an_image_is_changed_as_any_other(tmp_path):
    image = Image.open(io.BytesIO(SMALL_FILES["KTX 1.1"][0]))
    image.putpixel((1, 1), (9, 8, 7, 6))
    image.paste((1, 1, 1, 1), (0, 0, 1, 1))
    expected = bytearray(PIXELS)
    expected[0:4] = bytes([1] * 4)
    expected[(WIDTH + 1) * 4 : (WIDTH + 2) * 4] = bytes([9, 8, 7, 6])
    assert image.tobytes() == expected


def test_derived_images():
    image = Image.open(io.BytesIO(SMALL_FILES["KTX 1.1"][0]))
    copies = [image.copy(), pickle.loads(pickle.dumps(image)), image.crop((0, 0, WIDTH, HEIGHT))]
    del image
    gc.collect()
    for copy in copies:
        assert (copy.mode, copy.tobytes()) == ("RGBA", PIXELS)
    other = Image.open(io.BytesIO(SMALL_FILES["KTX 1.1"][0])).convert("RGB")
    assert other.tobytes() == bytes(byte for i, byte in enumerate(PIXELS) if i % 4 != 3)


def test_thumbnail_and_verify(tmp_path):
    Image.open(SAMPLES[0]).verify()
    image = Image.open(SAMPLES[0])
    image.thumbnail((32, 32))
    assert max(image.size) == 32


def test_files_are_closed(tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(SMALL_FILES["KTX 1.1"][0])
    with warnings.catch_warnings():
        warnings.simplefilter("error", ResourceWarning)
        image = Image.open(path)
        file = image.fp
        image.load()
        assert file.closed
        with Image.open(path) as other:
            pass
        with pytest.raises((ValueError, OSError)):
            other.load()
        path.write_bytes(SMALL_FILES["KTX 1.1"][0][:-1])
        with pytest.raises(OSError):
            Image.open(path)
        gc.collect()
    stream = io.BytesIO(SMALL_FILES["KTX 1.1"][0])
    Image.open(stream).load()
    assert not stream.closed  # it is the caller's


@pytest.mark.parametrize("contents", [bytes(200), b"PVR\2" + bytes(100), b"\xabKTX 30" + bytes(99)])
def test_other_files_are_not_identified(contents):
    with pytest.raises(UnidentifiedImageError):
        Image.open(io.BytesIO(contents))


@pytest.mark.parametrize("format", ["PNG", "JPEG", "BMP", "TIFF", "GIF", "TGA", "ICO", "WEBP"])
def test_other_formats_are_left_alone(tmp_path, format):
    card = Image.new("RGB", (32, 32), (10, 20, 30))
    path = tmp_path / "x.ktx"
    card.save(path, format)
    with Image.open(path) as image:
        assert image.format == format


def test_a_header_of_52_bytes_that_is_no_pvr():
    contents = (52).to_bytes(4, "little") + bytes(100)
    with pytest.raises(UnidentifiedImageError):
        Image.open(io.BytesIO(contents))


@pytest.mark.parametrize("name", SMALL_FILES)
def test_damaged_files(tmp_path, name):
    path = tmp_path / "cut.bin"
    path.write_bytes(SMALL_FILES[name][0][:-1])
    with pytest.raises(OSError) as caught:
        Image.open(path)
    assert not isinstance(caught.value, UnidentifiedImageError)
    assert str(path) in str(caught.value)
    with pytest.raises(OSError, match="<memory>"):
        Image.open(io.BytesIO(path.read_bytes()))


def test_damaged_files_whose_names_are_no_text(tmp_path):
    path = os.fsencode(tmp_path) + b"/\xff.ktx"
    with open(path, "wb") as file:
        file.write(SMALL_FILES["KTX 1.1"][0][:-1])
    with pytest.raises(OSError, match=r"\\udcff\.ktx: cannot decode") as caught:
        Image.open(os.fsdecode(path))
    str(caught.value).encode()


@pytest.mark.parametrize("change", ["cut", "other size"])
def test_a_file_that_changes_between_open_and_load(change):
    contents = SMALL_FILES["KTX 1.1"][0]
    stream = io.BytesIO(contents)
    image = Image.open(stream)
    stream.seek(0)
    stream.truncate()
    stream.write(contents[:-1] if change == "cut" else make_ktx1(2, 2, make_pixels(2, 2, 4)))
    with pytest.raises(OSError):
        image.load()


def test_decompression_bombs():
    with pytest.raises(Image.DecompressionBombError):
        Image.open(io.BytesIO(make_blank_ktx1(16000, 16000)))
    with pytest.warns(Image.DecompressionBombWarning):
        Image.open(io.BytesIO(make_blank_ktx1(10000, 10000)))


def test_a_missing_library_is_no_damaged_file(run_python):
    code = """
import sys, korutex, korutex.pillow
from PIL import Image
try:
    Image.open(sys.argv[1])
except korutex.LibraryNotFoundError:
    print("not found")
"""
    assert run_python(code, SAMPLES[0], KORUTEX_LIBRARY="/missing").stdout == "not found\n"


def test_order_of_imports(run_python):
    """Also before Pillow has loaded its own formats."""
    code = """
import io, sys, korutex.pillow
from PIL import Image
png = io.BytesIO()
Image.new("RGB", (1, 1)).save(png, "PNG")
print(Image.open(png).format, Image.open(sys.argv[1]).format)
"""
    assert run_python(code, SAMPLES[0]).stdout == "PNG ASTC\n"


def test_pillow_knows_the_formats():
    extensions = Image.registered_extensions()
    assert {e: extensions[e] for e in (".astc", ".ktx", ".ktx2", ".pvr")} == {
        ".astc": "ASTC",
        ".ktx": "KTX",
        ".ktx2": "KTX",
        ".pvr": "PVR",
    }
    assert Image.open(SAMPLES[0], formats=["ASTC"]).format == "ASTC"
    with pytest.raises(UnidentifiedImageError):
        Image.open(SAMPLES[0], formats=["KTX", "PVR"])


@pytest.mark.parametrize("mode", ["RGB", "RGBA"])
def test_saving(tmp_path, mode):
    channels = len(mode)
    image = Image.frombytes(mode, (7, 5), make_pixels(7, 5, channels))
    image.save(tmp_path / "x.ktx")
    stream = io.BytesIO(b"")
    image.save(stream, "KTX")
    korutex.write_ktx(tmp_path / "y.ktx", image)
    contents = (tmp_path / "x.ktx").read_bytes()
    assert contents == stream.getvalue() == (tmp_path / "y.ktx").read_bytes()
    flags = korutex.RGB if mode == "RGB" else korutex.RGBA
    assert korutex.load(contents, flags).tobytes() == image.tobytes()


@pytest.mark.parametrize("mode", ["1", "L", "LA", "P", "I", "F", "CMYK", "YCbCr", "HSV"])
def test_modes_that_are_not_saved(tmp_path, mode):
    with pytest.raises(OSError, match=f"cannot write mode {mode} as KTX"):
        Image.new(mode, (4, 4)).save(tmp_path / "x.ktx")
    assert os.listdir(tmp_path) == []


def test_ktx2_is_not_saved_as_something_else(tmp_path):
    with pytest.raises(OSError, match="KTX 2.0"):
        Image.new("RGB", (4, 4)).save(tmp_path / "x.ktx2")


@pytest.mark.parametrize("extension", [".astc", ".pvr"])
def test_formats_that_are_not_saved(tmp_path, extension):
    with pytest.raises((KeyError, ValueError)):
        Image.new("RGB", (4, 4)).save(tmp_path / f"x{extension}")


def test_to_pillow_shares_rgba_and_copies_rgb():
    rgba = korutex.load(SMALL_FILES["KTX 1.1"][0])
    shared = korutex.pillow.to_pillow(rgba)
    assert (shared.mode, shared.size, shared.tobytes()) == ("RGBA", (WIDTH, HEIGHT), PIXELS)
    rgba.pixels[0, 0, 0] = 200
    assert shared.getpixel((0, 0))[0] == 200
    rgba.close()
    del rgba
    gc.collect()
    assert shared.getpixel((0, 0))[0] == 200
    rgb = korutex.load(SMALL_FILES["KTX 1.1"][0], korutex.RGB)
    copied = korutex.pillow.to_pillow(rgb)
    assert (copied.mode, copied.tobytes()) == ("RGB", rgb.tobytes())
    assert not ImageChops.difference(copied, shared.convert("RGB")).crop((1, 0, 5, 3)).getbbox()


def test_stray_alpha_is_opaque_here_too():
    Image.open(io.BytesIO(make_pvr3(5, 3, PIXELS))).load()
    image = Image.open(io.BytesIO(make_pvr3(5, 3, PIXELS, b"rgb\0")))
    assert image.getextrema()[3] == (255, 255)
    assert Image.open(io.BytesIO(make_pvr_legacy(5, 3, 18, PIXELS))).tobytes() == PIXELS
