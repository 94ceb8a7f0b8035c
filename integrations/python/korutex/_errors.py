"""What goes wrong, as exceptions."""

from __future__ import annotations


class Error(Exception):
    """Base of all errors that are korutex' own.

    A path that cannot be opened raises what `open` would: FileNotFoundError, IsADirectoryError,
    PermissionError or another OSError. Running out of memory raises MemoryError.
    """


class LibraryNotFoundError(Error, ImportError):
    """The shared library is not there, cannot be loaded, or is not korutex."""


class UnsupportedFileError(Error, ValueError):
    """The bytes are no ASTC, KTX or PVR file, there are none, or there are 4 GiB and more."""


class DecodeError(Error, ValueError):
    """The bytes say that they are such a file, but the library gives no picture of it."""


class WriteError(Error, OSError):
    """The library could not write the file. `errno` and `filename` are those of any OSError."""
