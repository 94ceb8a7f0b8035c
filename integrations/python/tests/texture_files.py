"""Small texture files, byte by byte as their formats define them."""

from __future__ import annotations

import struct

GL_RGB, GL_RGBA, GL_RGB8, GL_RGBA8 = 0x1907, 0x1908, 0x8051, 0x8058
GL_UNSIGNED_BYTE = 0x1401
GL_ETC1_RGB8_OES = 0x8D64

KTX1_MAGIC = bytes([0xAB]) + b"KTX 11" + bytes([0xBB, 0x0D, 0x0A, 0x1A, 0x0A])
KTX2_MAGIC = bytes([0xAB]) + b"KTX 20" + bytes([0xBB, 0x0D, 0x0A, 0x1A, 0x0A])


def make_pixels(width: int, height: int, channels: int, seed: int = 1) -> bytes:
    """No two neighbours alike."""
    return bytes((seed * 31 + i * 7 + i // 5) % 251 for i in range(width * height * channels))


def pad_rows(pixels: bytes, row_bytes: int) -> bytes:
    rows = [pixels[at : at + row_bytes] for at in range(0, len(pixels), row_bytes)]
    return b"".join(row.ljust((row_bytes + 3) // 4 * 4, b"\0") for row in rows)


def make_ktx1(width: int, height: int, pixels: bytes, channels: int = 4) -> bytes:
    internal, base = (GL_RGBA8, GL_RGBA) if channels == 4 else (GL_RGB8, GL_RGB)
    payload = pad_rows(pixels, width * channels)
    header = struct.pack(
        "<13I", 0x04030201, GL_UNSIGNED_BYTE, 1, base, internal, base, width, height, 0, 0, 1, 1, 0
    )
    return KTX1_MAGIC + header + struct.pack("<I", len(payload)) + payload


def make_blank_ktx1(width: int, height: int) -> bytes:
    """ETC1 without blocks: black."""
    header = struct.pack(
        "<13I", 0x04030201, 0, 1, 0, GL_ETC1_RGB8_OES, GL_RGB, width, height, 0, 0, 1, 1, 0
    )
    return KTX1_MAGIC + header + bytes(4)


def make_pvr3(
    width: int,
    height: int,
    payload: bytes,
    names: bytes = b"rgba",
    widths: bytes = bytes([8, 8, 8, 8]),
) -> bytes:
    header = b"PVR\x03" + struct.pack("<I", 0) + names + widths
    return header + struct.pack("<9I", 0, 0, height, width, 1, 1, 1, 1, 0) + payload


def make_pvr_legacy(width: int, height: int, pixel_type: int, payload: bytes) -> bytes:
    numbers = (52, height, width, 0, pixel_type, len(payload), 32, 0, 0, 0, 0)
    return struct.pack("<11I", *numbers) + b"PVR!" + struct.pack("<I", 1) + payload


def make_astc(width: int, height: int, color: tuple[int, int, int, int]) -> bytes:
    """4x4 blocks of one color, each of which says so."""
    block = bytes([0xFC, 0xFD]) + b"\xff" * 6 + struct.pack("<4H", *(c * 257 for c in color))
    count = -(-width // 4) * -(-height // 4)
    sizes = b"".join(size.to_bytes(3, "little") for size in (width, height, 1))
    return bytes([0x13, 0xAB, 0xA1, 0x5C, 4, 4, 1]) + sizes + block * count
