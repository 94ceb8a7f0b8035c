"""Pixels that a caller wants written, in whatever object they are."""

from __future__ import annotations

import ctypes
import math
from typing import TYPE_CHECKING, Any, NamedTuple, Protocol, Union

from ._image import Image

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer


class SupportsArrayInterface(Protocol):
    """NumPy's and Pillow's way to show pixels."""

    @property
    def __array_interface__(self) -> dict[str, Any]: ...


if TYPE_CHECKING:
    PixelSource = Union[Image, ReadableBuffer, SupportsArrayInterface]


class Pixels(NamedTuple):
    width: int
    height: int
    channels: int
    """3 or 4."""
    rows: memoryview
    """Flat bytes, rows packed. Not a copy, unless the source is in pieces."""

    @property
    def shape(self) -> tuple[int, int, int]:
        return self.height, self.width, self.channels


def see_pixels(source: PixelSource) -> Pixels:
    """Raises TypeError for what is no image of height x width x 3 or 4 bytes."""
    # Pillow shows modes such as CMYK and HSV in the same shapes.
    mode = getattr(source, "mode", None)
    if isinstance(mode, str) and mode not in ("RGB", "RGBA"):
        raise TypeError(f'cannot write an image of mode {mode}: convert it to "RGB" or "RGBA"')
    view = _view(source)
    shape = view.shape or ()
    is_bytes = view.itemsize == 1 and view.format.lstrip("@=<>!|") == "B"
    if not is_bytes or len(shape) != 3 or shape[2] not in (3, 4):
        raise TypeError(
            "an image to write is height x width x 3 or 4 unsigned bytes, not "
            f"{' x '.join(map(str, shape))} of format {view.format!r}"
        )
    height, width, channels = shape
    if not (width and height):
        raise ValueError(f"cannot write an image of {width} x {height} pixels")
    rows = view.cast("B") if view.c_contiguous else memoryview(view.tobytes())
    return Pixels(width, height, channels, rows)


def _view(source: PixelSource) -> memoryview:
    if isinstance(source, Image):
        return source.pixels
    try:
        return memoryview(source)  # type: ignore[arg-type]
    except TypeError:
        return _view_array_interface(source)


def _view_array_interface(source: object) -> memoryview:
    interface = getattr(source, "__array_interface__", None)
    if not isinstance(interface, dict):
        raise TypeError(f"cannot write {type(source).__name__}: it shows no pixels")
    shape = tuple(interface["shape"])
    if interface["typestr"] not in ("|u1", "<u1", ">u1"):
        raise TypeError(f"an image to write has unsigned bytes, not {interface['typestr']}")
    packed = tuple(math.prod(shape[axis + 1 :]) for axis in range(len(shape)))
    if interface.get("strides") not in (None, packed):
        raise TypeError("the array interface of an image to write has no gaps")
    size = math.prod(shape)
    data = interface.get("data")
    if isinstance(data, tuple):
        flat = memoryview((ctypes.c_ubyte * size).from_address(data[0])).cast("B")
    else:
        offset = interface.get("offset", 0)
        flat = memoryview(data if data is not None else source).cast("B")  # type: ignore[arg-type]
        flat = flat[offset : offset + size]
    if len(flat) != size:
        raise ValueError("the array interface shows fewer bytes than its shape has")
    if not size:
        raise ValueError("cannot write an image without pixels")
    return flat.cast("B", shape)
