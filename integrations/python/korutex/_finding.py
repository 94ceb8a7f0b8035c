"""Where the shared library is."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
from typing import Final, Iterator, NamedTuple

from ._errors import LibraryNotFoundError

ENVIRONMENT_VARIABLE: Final = "KORUTEX_LIBRARY"

FUNCTIONS: Final = (
    "KORU_Init",
    "KORU_Exit",
    "KORU_Load_ASTC_From_File",
    "KORU_Load_ASTC_From_Memory",
    "KORU_Load_KTX_From_File",
    "KORU_Load_KTX_From_Memory",
    "KORU_Load_PVR_From_File",
    "KORU_Load_PVR_From_Memory",
    "KORU_Write_ASTC_To_File",
    "KORU_Write_KTX_To_File",
    "KORU_Write_PVR_To_File",
    "KORU_Delete_Image",
)

# LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR and LOAD_LIBRARY_SEARCH_SYSTEM32: what the library needs comes
# from its own folder or the system's, never from the working directory or the PATH.
WINDOWS_SEARCH_FLAGS: Final = 0x00000100 | 0x00000800


class Platform(NamedTuple):
    """What differs between the systems."""

    is_windows: bool
    file_names: tuple[str, ...]
    """Names of the library beside the package."""
    system_names: tuple[str, ...]
    """Names that the system's loader finds by itself."""


WINDOWS: Final = Platform(True, ("korutex_64.dll",), ())
LINUX: Final = Platform(
    False, ("libkorutex_64.so", "libkorutex_64.so.0"), ("libkorutex_64.so.0",)
)


def get_platform() -> Platform:
    return WINDOWS if sys.platform == "win32" else LINUX


def list_candidates(platform: Platform, package_folder: str) -> Iterator[str]:
    """File paths, and names for the system's loader, best first.

    Where the environment names a file, that is the only candidate: a typing error there shall not
    go unnoticed.
    """
    chosen = os.environ.get(ENVIRONMENT_VARIABLE)
    if chosen:
        yield os.path.abspath(chosen)
        return
    for name in platform.file_names:
        path = os.path.join(package_folder, name)
        if os.path.exists(path):
            yield path
    yield from platform.system_names
    # Last, for it may run programs. On Windows it walks the PATH and gives a full path.
    found = ctypes.util.find_library("korutex_64")
    if found:
        yield os.path.abspath(found) if platform.is_windows else found


def open_library(candidate: str, platform: Platform) -> ctypes.CDLL:
    """Loads it, and checks that all functions are there: the library does not tell its version."""
    # Written so, since the argument exists on Windows alone for type checkers.
    keywords: dict[str, int] = {"winmode": WINDOWS_SEARCH_FLAGS} if platform.is_windows else {}
    handle = ctypes.CDLL(candidate, use_errno=True, **keywords)  # type: ignore[arg-type]
    missing = [name for name in FUNCTIONS if not hasattr(handle, name)]
    if missing:
        raise LibraryNotFoundError(
            f"{candidate} is not the korutex library, or another version of it: "
            f"it has no {', '.join(missing)}"
        )
    return handle


def find_library() -> ctypes.CDLL:
    """The library, loaded. Raises LibraryNotFoundError, which tells what was tried."""
    platform = get_platform()
    tried = []
    for candidate in list_candidates(platform, os.path.dirname(os.path.abspath(__file__))):
        try:
            return open_library(candidate, platform)
        except OSError as error:
            tried.append(f"{candidate}: {error}")
    raise LibraryNotFoundError(
        f"cannot load the korutex library ({'; '.join(tried) or 'found nowhere'}). Install it, or "
        f"set {ENVIRONMENT_VARIABLE} to the path of {platform.file_names[0]}"
    )
