"""Tells the containers apart by their first bytes."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Final, NamedTuple, Optional, Union

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer

    Source = Union[str, os.PathLike[str], os.PathLike[bytes], ReadableBuffer]

HEAD_BYTES: Final = 80
"""Of a file that are looked at: the longest header."""


class Container(NamedTuple):
    """A kind of file."""

    name: str
    """As people say it: "KTX 2.0"."""
    family: str
    """As the library's functions say it: "KTX"."""
    header_bytes: int
    """Of the smallest header."""
    magic: bytes
    magic_offset: int = 0


ASTC: Final = Container("ASTC", "ASTC", 16, b"\x13\xab\xa1\x5c")
KTX1: Final = Container("KTX 1.1", "KTX", 64, b"\xabKTX 11\xbb\r\n\x1a\n")
KTX2: Final = Container("KTX 2.0", "KTX", 80, b"\xabKTX 20\xbb\r\n\x1a\n")
WRAPPED_KTX: Final = Container("QOZM-wrapped KTX", "KTX", 8, b"QOZM")
PVR3: Final = Container("PVR version 3", "PVR", 52, b"PVR\x03")
PVR_LEGACY: Final = Container("PVR legacy", "PVR", 52, b"PVR!", 44)

CONTAINERS: Final = (ASTC, KTX1, KTX2, WRAPPED_KTX, PVR3, PVR_LEGACY)


def identify(head: bytes) -> Optional[Container]:
    """By the first HEAD_BYTES of a file, or all of it."""
    for container in CONTAINERS:
        if head.startswith(container.magic, container.magic_offset):
            return container
    return None
