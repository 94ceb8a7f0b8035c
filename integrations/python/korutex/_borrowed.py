"""Addresses of other objects' bytes, without a copy.

The buffer is asked for with the C API's own function. ctypes' from_buffer takes writable objects
alone, c_char_p takes bytes alone; this takes all, and keeps a bytearray or an mmap from being
resized or closed by another thread during the call.
"""

from __future__ import annotations

import contextlib
import ctypes
from typing import TYPE_CHECKING, Iterator, NamedTuple

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer


class _PyBuffer(ctypes.Structure):
    """Py_buffer of CPython."""

    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_void_p),
        ("shape", ctypes.c_void_p),
        ("strides", ctypes.c_void_p),
        ("suboffsets", ctypes.c_void_p),
        ("internal", ctypes.c_void_p),
    ]

    buf: int | None
    len: int


_PYBUF_SIMPLE = 0

_get_buffer = ctypes.pythonapi.PyObject_GetBuffer
_get_buffer.argtypes = (ctypes.py_object, ctypes.POINTER(_PyBuffer), ctypes.c_int)
_get_buffer.restype = ctypes.c_int
_release_buffer = ctypes.pythonapi.PyBuffer_Release
_release_buffer.argtypes = (ctypes.POINTER(_PyBuffer),)
_release_buffer.restype = None


class BorrowedBytes(NamedTuple):
    address: int
    size: int

    def read(self, size: int) -> bytes:
        """A copy of the first ones, at most `size`."""
        return ctypes.string_at(self.address, min(self.size, size))


@contextlib.contextmanager
def borrow(source: ReadableBuffer) -> Iterator[BorrowedBytes]:
    """The bytes of a contiguous buffer, to be read as long as the context lasts.

    Raises TypeError for an object without a buffer, BufferError for one in pieces.
    """
    buffer = _PyBuffer()
    _get_buffer(source, buffer, _PYBUF_SIMPLE)  # raises by itself
    try:
        yield BorrowedBytes(buffer.buf or 0, buffer.len)
    finally:
        _release_buffer(buffer)
