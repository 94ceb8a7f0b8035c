"""Finds the textures of a folder tree and says where their pictures go."""

from __future__ import annotations

import os
import stat
from collections.abc import Callable, Iterator
from dataclasses import dataclass

ENDINGS = (".astc", ".ktx", ".ktx2", ".pvr")

#: Work in progress lies here, in the target folder: one name to clean up, and to leave out of walks.
PART_FOLDER = ".korutex-part"


@dataclass(frozen=True)
class Texture:
    """An input as the walk saw it. Its path is relative to the source folder; a name that is not
    UTF-8 has lone surrogates, as os.fsdecode() makes them."""

    path: str
    size: int | None  #: bytes; None when the file cannot be looked at
    mtime_ns: int | None


def result_path(path: str) -> str:
    """The picture of an input, relative to the target folder. The input's ending stays, so that
    a.ktx and a.pvr do not meet."""
    return path + ".png"


def find_textures(
    source: str,
    target: str,
    follow_links: bool = False,
    on_error: Callable[[str, OSError], None] = lambda path, error: None,
) -> Iterator[Texture]:
    """Walks `source`, sorted by name within a folder, and leaves out `target` inside of it.

    Links to files count as files. Links to folders are walked with `follow_links` only, and never
    into a folder that the walk is in. A folder that cannot be read goes to `on_error`.
    """
    left_out = _identity(target) if os.path.exists(target) else None
    stack: list[tuple[str, tuple[tuple[int, int], ...]]] = [("", ())]
    while stack:
        folder, parents = stack.pop()
        try:
            here = _identity(os.path.join(source, folder))
            if here in parents or (folder and here == left_out):
                continue
            with os.scandir(os.path.join(source, folder)) as entries:
                children = sorted(entries, key=lambda entry: entry.name)
        except OSError as error:
            on_error(folder or ".", error)
            continue
        subfolders = []
        for entry in children:
            path = os.path.join(folder, entry.name)
            if _is_folder(entry, follow_links):
                if entry.name != PART_FOLDER:
                    subfolders.append((path, (*parents, here)))
            elif entry.name.lower().endswith(ENDINGS):
                texture = look_at(source, path)
                if texture is not None:
                    yield texture
        stack.extend(reversed(subfolders))


def look_at(source: str, path: str) -> Texture | None:
    """The input at `path`, relative to `source`; None for what is no file: a pipe, a device."""
    try:
        status = os.stat(os.path.join(source, path))
    except OSError:
        return Texture(path, None, None)  # a link to nowhere: let the conversion say so
    if not stat.S_ISREG(status.st_mode):
        return None
    return Texture(path, status.st_size, status.st_mtime_ns)


def printable(path: str) -> str:
    """`path` for a terminal or a log: one line, whatever the name holds."""
    return "".join(
        c if c.isprintable() and c != "\\" else c.encode("unicode_escape").decode() for c in path
    )


def _is_folder(entry: os.DirEntry[str], follow_links: bool) -> bool:
    try:
        return entry.is_dir(follow_symlinks=follow_links)
    except OSError:
        return False  # a link to itself


def _identity(folder: str) -> tuple[int, int]:
    status = os.stat(folder)
    return status.st_dev, status.st_ino
