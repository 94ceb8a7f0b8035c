"""Why the library may have given no picture. It says nothing itself."""

from __future__ import annotations

import struct
from typing import Optional

from . import _container
from ._container import Container


def explain(container: Container, head: bytes, file_bytes: int) -> str:
    """One clause: what the header shows, or what is left to guess."""
    if file_bytes < container.header_bytes:
        return (
            f"it is cut off: {file_bytes} bytes do not hold the header of "
            f"{container.header_bytes}"
        )
    reason = _EXPLAINERS.get(container.name, _explain_nothing)(head, file_bytes)
    return reason or (
        "it is damaged or cut off, or its pixels have a format or a size that korutex does not "
        "decode"
    )


def _explain_nothing(head: bytes, file_bytes: int) -> Optional[str]:
    return None


def _explain_size(width: int, height: int) -> Optional[str]:
    return None if width and height else f"its header says {width} x {height} pixels"


def _explain_astc(head: bytes, file_bytes: int) -> Optional[str]:
    block = [max(axis, 1) for axis in head[4:7]]
    width, height, depth = (int.from_bytes(head[at : at + 3], "little") for at in (7, 10, 13))
    if not (width and height) or depth == 0:
        return f"its header says {width} x {height} x {depth} pixels"
    if depth != 1:
        return f"it is a volume of {depth} slices"
    needed = -(-width // block[0]) * -(-height // block[1]) * 16
    present = file_bytes - 16
    if present < needed:
        return f"it is cut off: {present} bytes of blocks where {width} x {height} take {needed}"
    return None


def _explain_ktx1(head: bytes, file_bytes: int) -> Optional[str]:
    (endianness,) = struct.unpack_from("<I", head, 12)
    if endianness == 0x01020304:
        return "its header is in big-endian byte order, which korutex does not read"
    if endianness != 0x04030201:
        return "its header is damaged"
    width, _ = struct.unpack_from("<2I", head, 36)
    return None if width else "its header says a width of 0"


def _explain_ktx2(head: bytes, file_bytes: int) -> Optional[str]:
    (width,) = struct.unpack_from("<I", head, 20)
    (supercompression,) = struct.unpack_from("<I", head, 44)
    if supercompression:
        return f"it is supercompressed (scheme {supercompression}), which korutex does not decode"
    return None if width else "its header says a width of 0"


def _explain_pvr3(head: bytes, file_bytes: int) -> Optional[str]:
    height, width = struct.unpack_from("<2I", head, 24)
    return _explain_size(width, height)


def _explain_pvr_legacy(head: bytes, file_bytes: int) -> Optional[str]:
    height, width = struct.unpack_from("<2I", head, 4)
    return _explain_size(width, height)


_EXPLAINERS = {
    _container.ASTC.name: _explain_astc,
    _container.KTX1.name: _explain_ktx1,
    _container.KTX2.name: _explain_ktx2,
    _container.PVR3.name: _explain_pvr3,
    _container.PVR_LEGACY.name: _explain_pvr_legacy,
}
