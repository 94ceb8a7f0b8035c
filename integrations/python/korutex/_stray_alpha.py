"""Alpha that the library takes from pixels of fewer than four channels.

After a PVR file with alpha, it shows the fourth byte of such pixels as alpha; before, they are
opaque. A picture shall not depend on what was loaded earlier, so they are opaque always.
"""

from __future__ import annotations

from typing import Final

from . import _container
from ._container import Container

_FOUR_CHANNELS: Final = (b"rgba", b"bgra", b"rgbx")
_LEGACY_RGBA8888: Final = 18

# Pixel types of legacy headers that are stored as blocks: ranges, both ends included.
_LEGACY_BLOCKS: Final = ((10, 13), (24, 25), (28, 29), (32, 36), (54, 56), (69, 70), (128, 137))


def may_have_stray_alpha(container: Container, head: bytes) -> bool:
    """Of a file that the library opens."""
    if container == _container.PVR3:
        is_packed = head[12:16] != bytes(4)
        return is_packed and head[8:12] not in _FOUR_CHANNELS
    if container == _container.PVR_LEGACY:
        pixel_type = head[16]
        has_blocks = any(first <= pixel_type <= last for first, last in _LEGACY_BLOCKS)
        return not has_blocks and pixel_type != _LEGACY_RGBA8888
    return False


def make_opaque(rgba: memoryview) -> None:
    """Sets every fourth byte; `rgba` is flat."""
    # A bytearray takes every fourth byte in a tight loop, which a memoryview does not; in pieces
    # that fit into a cache.
    step = 1 << 16
    opaque = b"\xff" * (step // 4)
    for start in range(0, len(rgba), step):
        piece = bytearray(rgba[start : start + step])
        piece[3::4] = opaque[: len(piece) // 4]
        rgba[start : start + step] = piece
