#!/usr/bin/env python3
"""make_wic_inputs.py SAMPLES GOOD BAD: files that the samples do not show, and files that are damaged.

GOOD  PVR files, a wrapped KTX file and samples under misleading names
BAD   files named WHAT.CODE.ENDING: CODE is the one that WIC's factory has to give
"""
import shutil
import struct
import sys
from pathlib import Path

NOT_FOUND = "0x88982F50"  # WINCODEC_ERR_COMPONENTNOTFOUND: no decoder calls it its own
BAD_IMAGE = "0x88982F60"
BAD_HEADER = "0x88982F61"


def pvr(names: bytes, widths: bytes, width: int, height: int, data: bytes) -> bytes:
    return b"PVR\x03" + struct.pack("<I4s4s9I", 0, names, widths, 0, 0, height, width, 1, 1, 1, 1, 0) + data


def pvr_legacy(kind: int, width: int, height: int, data: bytes) -> bytes:
    return struct.pack("<11I4sI", 52, height, width, 0, kind, len(data), 32, 0, 0, 0, 0, b"PVR!", 1) + data


def lz4_block(data: bytes) -> bytes:
    """Literals only."""
    rest = len(data) - 15
    return b"\xf0" + b"\xff" * (rest // 255) + bytes([rest % 255]) + data


def wrapped(data: bytes) -> bytes:
    block = lz4_block(data)
    chunk = b"padA 4zL" + struct.pack("<II", len(block), len(data)) + bytes(16) + block
    return b"QOZM" + struct.pack("<I", 2) + bytes(16) + chunk


def main() -> None:
    samples, good, bad = (Path(argument) for argument in sys.argv[1:])
    gradient = bytes(value for y in range(9) for x in range(16) for value in (x * 17, y * 28, 99, 255 - x * 9))
    rgba = pvr(b"rgba", b"\x08\x08\x08\x08", 16, 9, gradient)
    ktx = (samples / "testcard-bc1.ktx").read_bytes()
    astc = (samples / "testcard-6x6.astc").read_bytes()

    (good / "a-rgba.pvr").write_bytes(rgba)
    (good / "b-stray-alpha.pvr").write_bytes(pvr(b"r", b"\x08\x08\x08\x08", 16, 9, gradient))
    (good / "legacy.pvr").write_bytes(pvr_legacy(18, 16, 9, gradient))
    (good / "wrapped.ktx").write_bytes(wrapped(ktx))
    shutil.copy(samples / "testcard-bc1.ktx", good / "a ktx named.dat")
    shutil.copy(samples / "testcard-bc3.ktx2", good / "a ktx2 named.png")
    shutil.copy(samples / "testcard-6x6.astc", good / "astc without ending")
    (good / "a pvr named.ktx").write_bytes(rgba)

    for name, code, content in (
        ("empty", NOT_FOUND, b""),
        ("text", NOT_FOUND, b"This is no texture.\n" * 9),
        ("half-magic", NOT_FOUND, ktx[:11]),
        ("half-header", BAD_HEADER, ktx[:63]),
        ("no-level", BAD_IMAGE, ktx[:64]),
        ("cut", BAD_IMAGE, ktx[:-1]),
        ("zero-width", BAD_IMAGE, ktx[:36] + bytes(4) + ktx[40:]),
        ("unknown-format", BAD_IMAGE, ktx[:28] + b"\xff\xff\xff\x7f" + ktx[32:]),
        ("wrapper-cut", BAD_HEADER, wrapped(ktx)[:23]),
        ("wrapped-text", BAD_IMAGE, wrapped(b"This is no texture, and nothing of it.")),
        ("astc-header", BAD_HEADER, astc[:15]),
        ("astc-zero-width", BAD_HEADER, astc[:7] + bytes(3) + astc[10:]),
        ("astc-volume", BAD_HEADER, astc[:13] + b"\x02" + astc[14:]),
        ("astc-cut", BAD_IMAGE, astc[:-1]),
        ("pvr-header", BAD_HEADER, rgba[:51]),
        ("pvr-cut", BAD_IMAGE, rgba[:-1]),
    ):
        (bad / f"{name}.{code}.ktx").write_bytes(content)


if __name__ == "__main__":
    main()
