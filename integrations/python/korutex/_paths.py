"""Paths for the library, and for messages."""

from __future__ import annotations

import os
import sys
from typing import Optional, Union


def get_text(path: Union[str, os.PathLike[str], os.PathLike[bytes]]) -> str:
    return os.fsdecode(path)


def describe(path: str) -> str:
    """For messages: bytes that are no text are shown as such."""
    return path.encode("utf-8", "backslashreplace").decode("utf-8")


def to_library(path: str, is_windows: bool = sys.platform == "win32") -> Optional[bytes]:
    """The path in zero-terminated UTF-16; None if the library could not find the file by it.

    Windows takes any 16-bit units. Elsewhere the library says the path in UTF-8, which does not
    reach names that are no UTF-8, nor any but ASCII ones where Python encodes them otherwise.
    """
    if "\0" in path:
        raise ValueError("embedded null character")
    if is_windows:
        return path.encode("utf-16-le", "surrogatepass") + b"\0\0"
    try:
        if path.encode("utf-8") != os.fsencode(path):
            return None
    except UnicodeEncodeError:
        return None
    return path.encode("utf-16-le") + b"\0\0"
