"""A decoded image, and the memory behind it."""

from __future__ import annotations

import ctypes
import weakref
from types import TracebackType
from typing import TYPE_CHECKING, Any, Optional

from ._errors import Error
from ._library import get_library

if TYPE_CHECKING:
    from ._library import RecordPointer


_untrack = ctypes.pythonapi.PyObject_GC_UnTrack
_untrack.argtypes = (ctypes.py_object,)
_untrack.restype = None


def _own_pixels(record: RecordPointer) -> ctypes.Array[ctypes.c_ubyte]:
    """The pixels as an object whose end is the record's end.

    Every view and array holds this object, and none holds the record, so the record is freed once:
    when the last of them is gone. Python does not free it at exit, where a view may still be in
    use; the system takes the memory back with the process.
    """
    fields = record.contents
    assert fields.pixels is not None
    pixels = (ctypes.c_ubyte * fields.dataSize).from_address(fields.pixels)
    address = ctypes.addressof(fields)
    finalizer = weakref.finalize(pixels, get_library().delete, address)
    finalizer.atexit = False
    # In a cycle of garbage, finalizers of weak references come before __del__ methods, which may
    # still look at the pixels. Of an object that the collector does not know, they come at its end.
    _untrack(pixels)
    return pixels


class Image:
    """An image that the library has decoded: rows from top to bottom, 8 bits a channel.

    `korutex.load` makes these. The pixels stay where the library put them: `pixels`, memoryview()
    (Python 3.12 and later) and numpy.asarray() are views of that memory, not copies, and may write
    to it. The memory is freed when the image is closed or collected and no view of it is left.
    """

    def __init__(self, record: RecordPointer, container: str, name: str) -> None:
        """Takes the record over, also when this raises."""
        fields = record.contents
        self._width = fields.width
        self._height = fields.height
        self._channels = fields.bytesPerPixel
        self._stride = fields.stride
        self._container = container
        self._name = name
        self._is_closed = False
        self._pixels: Optional[ctypes.Array[ctypes.c_ubyte]] = None
        self._has_pixels = bool(fields.pixels)
        if not self._has_pixels:
            get_library().delete(ctypes.addressof(fields))
            return
        is_packed = (
            fields.stride == fields.width * fields.bytesPerPixel
            and fields.dataSize == fields.stride * fields.height
        )
        self._pixels = _own_pixels(record)
        if not is_packed:
            raise Error(f"{name}: the library gave rows that are not packed")

    @property
    def width(self) -> int:
        """Pixels of a row."""
        return self._width

    @property
    def height(self) -> int:
        """Rows."""
        return self._height

    @property
    def size(self) -> tuple[int, int]:
        """Width and height."""
        return self._width, self._height

    @property
    def channels(self) -> int:
        """Bytes of a pixel: 3 or 4."""
        return self._channels

    @property
    def mode(self) -> str:
        """ "RGB" or "RGBA". A header-only image is said to be "RGB", as its record is."""
        return "RGBA" if self._channels == 4 else "RGB"

    @property
    def stride(self) -> int:
        """Bytes from row to row: width * channels."""
        return self._stride

    @property
    def container(self) -> str:
        """What the file was, as `korutex.probe` says it."""
        return self._container

    @property
    def has_pixels(self) -> bool:
        """False for a header-only image."""
        return self._has_pixels

    @property
    def closed(self) -> bool:
        return self._is_closed

    @property
    def pixels(self) -> memoryview:
        """A writable view of shape (height, width, channels).

        Raises ValueError once the image is closed, and for a header-only one.
        """
        shape = (self._height, self._width, self._channels)
        return self._view_flat().cast("B", shape)

    def _get_memory(self) -> ctypes.Array[ctypes.c_ubyte]:
        """The object that owns the pixels."""
        if self._is_closed:
            raise ValueError(f"{self._name}: the image is closed")
        if self._pixels is None:
            raise ValueError(f"{self._name}: the image was loaded without pixels")
        return self._pixels

    def _view_flat(self) -> memoryview:
        return memoryview(self._get_memory()).cast("B")

    def __buffer__(self, flags: int) -> memoryview:
        return self.pixels

    def tobytes(self) -> bytes:
        """A copy of the pixels."""
        return self._view_flat().tobytes()

    @property
    def __array_interface__(self) -> dict[str, Any]:
        # The view, not an address: arrays then hold the memory itself and outlive the image.
        return {
            "version": 3,
            "shape": (self._height, self._width, self._channels),
            "typestr": "|u1",
            "data": self._view_flat(),
        }

    def close(self) -> None:
        """Gives the pixels up. Views and arrays made before stay valid, and keep the memory."""
        self._is_closed = True
        self._pixels = None

    def __enter__(self) -> Image:
        return self

    def __exit__(
        self,
        kind: Optional[type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        pixels = " closed" if self._is_closed else "" if self._has_pixels else " without pixels"
        return (
            f"<korutex.Image {self._width} x {self._height} {self.mode} "
            f"from {self._container}{pixels}>"
        )

    def __reduce__(self) -> str:
        raise TypeError("a korutex.Image cannot be pickled; send numpy.asarray(image), or the path")
