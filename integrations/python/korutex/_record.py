"""The image record of korutex.h, and the flags of a load."""

from __future__ import annotations

import ctypes
from typing import Final

RGB: Final = 0
"""Pixels are R, G, B, 3 bytes each."""

HEADER_ONLY: Final = 1
"""Sizes and no pixels. The load fails exactly when a full one would."""

RGBA: Final = 2
"""Pixels are R, G, B, A, 4 bytes each; A is 255 where the image has no alpha."""

MAX_BYTES: Final = 0xFFFFFFFF
"""The library counts the bytes of files and of pixels in 32 bits."""


class Record(ctypes.Structure):
    """KORU_Image, field by field."""

    _fields_ = [
        ("width", ctypes.c_uint32),
        ("height", ctypes.c_uint32),
        ("bitsPerPixel", ctypes.c_uint32),
        ("bytesPerPixel", ctypes.c_uint32),
        ("bitsPerChannel", ctypes.c_uint32),
        ("dataSize", ctypes.c_uint32),
        ("stride", ctypes.c_uint32),
        ("rowPadding", ctypes.c_uint32),
        ("reservedA", ctypes.c_uint32),
        ("reservedB", ctypes.c_uint32),
        ("reservedC", ctypes.c_uint64),
        ("reservedD", ctypes.c_uint32),
        ("pixels", ctypes.c_void_p),
    ]

    width: int
    height: int
    bitsPerPixel: int
    bytesPerPixel: int
    bitsPerChannel: int
    dataSize: int
    stride: int
    rowPadding: int
    reservedA: int
    reservedB: int
    reservedC: int
    reservedD: int
    pixels: int | None
