"""From a file or its bytes to an image."""

from __future__ import annotations

import errno
import os
import stat
from typing import TYPE_CHECKING, BinaryIO, Optional

from . import _paths
from ._borrowed import borrow
from ._container import HEAD_BYTES, Container, identify
from ._diagnosis import explain
from ._errors import DecodeError, UnsupportedFileError
from ._image import Image
from ._library import LoadResult, get_library
from ._record import HEADER_ONLY, MAX_BYTES, RGBA
from ._stray_alpha import make_opaque, may_have_stray_alpha

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer

    from ._container import Source

_MEMORY_NAME = "<memory>"


def load(source: Source, flags: int = RGBA) -> Image:
    """Decodes the first image of an ASTC, KTX or PVR file.

    source  A path (str or os.PathLike), or the contents of a file: bytes or any other object with
            a contiguous buffer (bytearray, memoryview, mmap, ...), which is read and not copied,
            and must not change meanwhile. The kind of file is told by its first bytes.
    flags   RGBA, RGB, or HEADER_ONLY for the sizes alone.

    Other threads run during the call; only one call is in the library at a time. What was loaded
    before makes no difference.

    Raises UnsupportedFileError, DecodeError, LibraryNotFoundError, MemoryError, and for paths the
    OSError that `open` would raise.
    """
    if flags & ~(HEADER_ONLY | RGBA):
        raise ValueError(f"flags are RGB, RGBA and HEADER_ONLY, not {flags:#x}")
    if isinstance(source, (str, os.PathLike)):
        return _load_path(_paths.get_text(source), flags)
    return load_contents(source, flags, _MEMORY_NAME)


def read_size(source: Source) -> tuple[int, int]:
    """Width and height of the image that `load` would give, without decoding it.

    The library checks the file as for a load, so this raises what `load` raises.
    """
    with load(source, HEADER_ONLY) as image:
        return image.size


def probe(source: Source) -> Optional[str]:
    """What kind of file it says it is, by its first bytes.

    "ASTC", "KTX 1.1", "KTX 2.0", "QOZM-wrapped KTX", "PVR version 3", "PVR legacy", or None.
    `source` is as for `load`. Raises the OSError of a path that cannot be read.
    """
    if isinstance(source, (str, os.PathLike)):
        with _open_regular(_paths.get_text(source)) as file:
            container = identify(file.read(HEAD_BYTES))
    else:
        _check_contents(source)
        with borrow(source) as contents:
            container = identify(contents.read(HEAD_BYTES))
    return container.name if container else None


def _open_regular(path: str) -> BinaryIO:
    """Looked at before opening: a pipe would wait for its other end."""
    mode = os.stat(path).st_mode
    if stat.S_ISDIR(mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
    if not stat.S_ISREG(mode):
        raise OSError(errno.EINVAL, "Not a regular file", path)
    return open(path, "rb")


def _check_contents(source: object) -> None:
    try:
        view = memoryview(source)  # type: ignore[arg-type]
    except TypeError:
        hint = ", not a file object: pass its read()" if hasattr(source, "read") else ""
        raise TypeError(
            "korutex takes a path or the contents of a file as a bytes-like object"
            + (hint or f", not {type(source).__name__}")
        ) from None
    with view:
        if not view.c_contiguous:
            raise BufferError("the contents of a file must be contiguous")


def _check_size(size: int, name: str) -> None:
    if size == 0:
        raise UnsupportedFileError(f"{name}: is empty")
    if size > MAX_BYTES:
        raise UnsupportedFileError(f"{name}: is {size} bytes long; korutex takes less than 4 GiB")


def _identify(head: bytes, name: str) -> Container:
    container = identify(head)
    if container is None:
        raise UnsupportedFileError(f"{name}: is not an ASTC, KTX or PVR file")
    return container


def _load_path(path: str, flags: int) -> Image:
    name = _paths.describe(path)
    with _open_regular(path) as file:
        size = os.fstat(file.fileno()).st_size
        _check_size(size, name)
        head = file.read(HEAD_BYTES)
        container = _identify(head, name)
        path_units = _paths.to_library(path)
        if path_units is None:
            return load_contents(head + file.read(), flags, name)
        result = get_library().load_file(container.family, path_units, flags)
    return _finish(result, container, head, size, flags, name)


def load_contents(source: ReadableBuffer, flags: int, name: str) -> Image:
    """As `load`, for the contents of a file that messages shall call `name`."""
    _check_contents(source)
    with borrow(source) as contents:
        _check_size(contents.size, name)
        head = contents.read(HEAD_BYTES)
        container = _identify(head, name)
        result = get_library().load_memory(
            container.family, contents.address, contents.size, flags
        )
    return _finish(result, container, head, contents.size, flags, name)


def _finish(
    result: LoadResult, container: Container, head: bytes, size: int, flags: int, name: str
) -> Image:
    if result.record is None:
        if result.error == errno.ENOMEM:
            raise MemoryError(f"{name}: no memory to decode the {container.name} file")
        raise DecodeError(
            f"{name}: cannot decode the {container.name} file: {explain(container, head, size)}"
        )
    image = Image(result.record, container.name, name)
    if flags == RGBA and may_have_stray_alpha(container, head):
        make_opaque(image._view_flat())
    return image
