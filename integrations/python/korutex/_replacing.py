"""Files that are replaced when the new one is complete, and never before."""

from __future__ import annotations

import contextlib
import errno
import os
import secrets
import stat
from typing import Iterator, Optional


def _check_target(target: str, path: str) -> Optional[int]:
    """The permission bits of the file that is there; None if there is none."""
    try:
        mode = os.stat(target).st_mode
    except FileNotFoundError:
        return None
    if stat.S_ISDIR(mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
    if not stat.S_ISREG(mode):
        # Renaming would put a file in the place of a device or a pipe.
        raise OSError(errno.EINVAL, "Not a regular file", path)
    # Renaming would ask the folder for permission only.
    effective = os.access in os.supports_effective_ids
    if not os.access(target, os.W_OK, effective_ids=effective):
        raise PermissionError(errno.EACCES, os.strerror(errno.EACCES), path)
    return stat.S_IMODE(mode)


def _create(temporary: str, path: str) -> None:
    flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL | getattr(os, "O_BINARY", 0)
    try:
        os.close(os.open(temporary, flags, 0o666))
    except OSError as error:
        error.filename = path  # the user does not know the other one
        raise


def _flush(temporary: str) -> None:
    with open(temporary, "rb+") as file:
        try:
            os.fsync(file.fileno())
        except OSError as error:
            # Some file systems cannot flush; the file is as good there as it gets.
            if error.errno not in (errno.EINVAL, errno.ENOTSUP):
                raise


@contextlib.contextmanager
def replace_file(path: str) -> Iterator[str]:
    """The path of an empty file beside `path`, to be written: it takes its place in the end.

    After an exception, `path` is as it was and nothing is left beside it. A link keeps leading
    where it does, and the file there is replaced. The new file is as private as the old one.
    """
    if not os.path.basename(path):
        # realpath would make the current folder of "", and a file's name of "file/".
        error = errno.EISDIR if path else errno.ENOENT
        raise OSError(error, os.strerror(error), path)
    target = os.path.realpath(path)
    mode = _check_target(target, path)
    temporary = os.path.join(os.path.dirname(target), f".korutex-{secrets.token_hex(8)}.tmp")
    _create(temporary, path)
    try:
        if mode is not None and os.name == "posix":
            os.chmod(temporary, mode)
        yield temporary
        _flush(temporary)
        os.replace(temporary, target)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(temporary)
        raise
