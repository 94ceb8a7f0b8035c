"""From pixels to a file.

Writers repack RGB images: they free the record's pixels and put others in their place. So an RGB
record must be one that the library has made, with memory of its own; a blank image of the wanted
size is loaded for that. RGBA pixels are only read, so a record of our own may point to them.
"""

from __future__ import annotations

import contextlib
import ctypes
import errno
import os
import struct
import tempfile
from typing import TYPE_CHECKING, Final, Iterator, NamedTuple, Union

from . import _paths
from ._borrowed import borrow
from ._container import KTX1
from ._errors import WriteError
from ._library import get_library
from ._pixel_source import Pixels, see_pixels
from ._record import MAX_BYTES, RGB, Record
from ._replacing import replace_file

if TYPE_CHECKING:
    from ._pixel_source import PixelSource

    Path = Union[str, os.PathLike[str], os.PathLike[bytes]]


class Writer(NamedTuple):
    """One kind of file that the library writes."""

    family: str
    bytes_before_pixels: int


KTX: Final = Writer("KTX", 64 + 4 + 24 + 4)
PVR: Final = Writer("PVR", 52 + 4)


def write_ktx(path: Path, image: PixelSource) -> None:
    """Writes a KTX 1.1 file: one level of RGB or RGBA bytes, rows from top to bottom.

    image  A korutex.Image, a Pillow image of mode RGB or RGBA, or any object whose buffer or
           __array_interface__ is height x width x 3 or 4 unsigned bytes, as NumPy arrays are.
           It is not changed.

    An existing file is replaced when the new one is complete, and stays as it is otherwise.
    Raises WriteError or another OSError, TypeError or ValueError for other images.
    """
    _write(KTX, path, image)


def write_pvr(path: Path, image: PixelSource) -> None:
    """Writes 52 zero bytes, the size of the pixels in 32 bits, and the pixels.

    That is what the library calls a PVR file: its header is empty, so no reader opens it, nor does
    `load`. It is of use to programs that know the layout. Otherwise as `write_ktx`.
    """
    _write(PVR, path, image)


def encode(writer: Writer, image: PixelSource) -> bytes:
    """The bytes of the file."""
    with tempfile.TemporaryDirectory(prefix="korutex-") as folder:
        path = os.path.join(folder, "image")
        path_units = _paths.to_library(path)
        if path_units is None:
            raise WriteError(errno.EILSEQ, "The temporary folder has no Unicode name", folder)
        _write_here(writer, path, path_units, see_pixels(image))
        with open(path, "rb") as file:
            return file.read()


def _write(writer: Writer, path: Path, image: PixelSource) -> None:
    text = _paths.get_text(path)
    pixels = see_pixels(image)
    with replace_file(text) as temporary:
        path_units = _paths.to_library(temporary)
        if path_units is not None:
            _write_here(writer, temporary, path_units, pixels, text)
            return
        with open(temporary, "wb") as file:
            file.write(encode(writer, pixels.rows.cast("B", pixels.shape)))


def _write_here(
    writer: Writer, path: str, path_units: bytes, pixels: Pixels, name: str = "<memory>"
) -> None:
    stride = -(-pixels.width * pixels.channels // 4) * 4
    if stride * pixels.height > MAX_BYTES:
        raise ValueError(f"{pixels.width} x {pixels.height} pixels take 4 GiB and more")
    make_record = _borrow_rgba if pixels.channels == 4 else _make_rgb
    with make_record(pixels) as record:
        is_written, error = get_library().write(writer.family, path_units, record)
    # What a full disk does not take when the file is closed, the library does not tell.
    file_bytes = writer.bytes_before_pixels + stride * pixels.height
    if not is_written or os.stat(path).st_size != file_bytes:
        error = error or errno.EIO
        raise WriteError(error, os.strerror(error), name)


@contextlib.contextmanager
def _borrow_rgba(pixels: Pixels) -> Iterator[Record]:
    with borrow(pixels.rows) as rows:
        yield Record(
            width=pixels.width,
            height=pixels.height,
            bitsPerPixel=32,
            bytesPerPixel=4,
            bitsPerChannel=8,
            dataSize=rows.size,
            stride=pixels.width * 4,
            reservedC=100,
            pixels=rows.address,
        )


# An ETC1 image without payload loads as a black one of any size, from 68 bytes.
_GL_ETC1_RGB8_OES: Final = 0x8D64
_GL_RGB: Final = 0x1907
_BLANK_KTX: Final = struct.Struct("<12s14I")


def _describe_blank(width: int, height: int) -> bytes:
    return _BLANK_KTX.pack(
        KTX1.magic,
        0x04030201,  # this byte order
        *(0, 1, 0, _GL_ETC1_RGB8_OES, _GL_RGB),  # type, its size, format, internal, base
        *(width, height, 0),
        *(0, 1, 1),  # array elements, faces, levels
        *(0, 0),  # bytes of metadata, bytes of the level
    )


@contextlib.contextmanager
def _make_rgb(pixels: Pixels) -> Iterator[Record]:
    library = get_library()
    with borrow(_describe_blank(pixels.width, pixels.height)) as blank:
        result = library.load_memory("KTX", blank.address, blank.size, RGB)
    if result.record is None:
        raise MemoryError(f"no memory for {pixels.width} x {pixels.height} pixels")
    record = result.record.contents
    try:
        assert record.pixels and record.dataSize == len(pixels.rows)
        with borrow(pixels.rows) as rows:
            ctypes.memmove(record.pixels, rows.address, rows.size)
        yield record
    finally:
        library.delete(ctypes.addressof(record))
