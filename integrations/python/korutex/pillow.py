"""Teaches Pillow to open ASTC, KTX and PVR files, and to save KTX 1.1 files.

    import korutex.pillow
    from PIL import Image

    Image.open("texture.ktx2").show()

Importing this module is all it takes. Images have the mode "RGBA". Opening checks the file and
reads its size; it is decoded when its pixels are asked for. `info["container"]` is what
`korutex.probe` says of the file.
"""

from __future__ import annotations

import os
from typing import IO, Any, ClassVar, Optional, Union

from PIL import Image, ImageFile

from . import _container, _loading, _paths, _writing
from ._container import HEAD_BYTES, Container
from ._errors import DecodeError, UnsupportedFileError
from ._image import Image as Texture
from ._record import HEADER_ONLY, RGBA

__all__ = ["AstcImageFile", "KtxImageFile", "PvrImageFile", "to_pillow"]

_MODE = "RGBA"

# What accept functions see of a file ends before the magic of legacy PVR files, which is at offset
# 44. Their first number is the size of the header, 52.
_LEGACY_PVR_START = b"\x34\0\0\0"

# Pillow 10.1 made the mode a property.
_MODE_FIELD = "_mode" if isinstance(getattr(Image.Image, "mode", None), property) else "mode"


def to_pillow(image: Texture) -> Image.Image:
    """A Pillow image of the same pixels.

    An RGBA image is not copied: Pillow's image holds the memory as long as it needs it, `image`
    may be closed, and what is written to the pixels of `image` shows. An RGB image is copied.
    """
    # The mode's own layout, as in files; no padding, rows from top to bottom.
    layout = ("raw", image.mode, 0, 1)
    # Decoders of RGB take no memoryview; the object behind it they do.
    return Image.frombuffer(image.mode, image.size, image._get_memory(), *layout)


class _TextureImageFile(ImageFile.ImageFile):
    fp: Any
    tile: Any
    _is_pending: bool = False
    _start: int = 0

    def _open(self) -> None:
        self._start = self.fp.tell()
        head = self.fp.read(HEAD_BYTES)
        container = _container.identify(head)
        if container is None or container.family != self.format:
            raise SyntaxError(f"not a file of the format {self.format}")
        with self._decode(head + self.fp.read(), HEADER_ONLY) as image:
            self._size = image.size
        setattr(self, _MODE_FIELD, _MODE)
        self.info["container"] = container.name
        if container == _container.KTX2:
            self.custom_mimetype = "image/ktx2"
        self.tile = []
        self._is_pending = True

    def _decode(self, contents: bytes, flags: int) -> Texture:
        name = _paths.describe(os.fsdecode(self.filename)) if self.filename else "<memory>"
        try:
            return _loading.load_contents(contents, flags, name)
        except (DecodeError, UnsupportedFileError) as error:
            raise OSError(str(error)) from error

    def load(self) -> Any:
        if self._is_pending:
            self._load_pixels()
        return Image.Image.load(self)

    def _load_pixels(self) -> None:
        if self.fp is None:
            raise OSError("cannot load this image: its file is closed")
        self.fp.seek(self._start)
        with self._decode(self.fp.read(), RGBA) as image:
            if image.size != self.size:
                raise OSError("the file has changed since it was opened")
            self.im = to_pillow(image).im
        self._is_pending = False
        if self._exclusive_fp and self._close_exclusive_fp_after_loading:
            self.fp.close()
        self.fp = None


class AstcImageFile(_TextureImageFile):
    """An ".astc" file."""

    format: ClassVar[str] = "ASTC"
    format_description: ClassVar[str] = "ASTC texture"


class KtxImageFile(_TextureImageFile):
    """A KTX 1.1 or KTX 2.0 file, also in a "QOZM" wrapper."""

    format: ClassVar[str] = "KTX"
    format_description: ClassVar[str] = "Khronos texture"


class PvrImageFile(_TextureImageFile):
    """A PVR file of version 3, or with the legacy header."""

    format: ClassVar[str] = "PVR"
    format_description: ClassVar[str] = "PVR texture"


def _starts_with(prefix: bytes, *containers: Container) -> bool:
    return any(prefix.startswith(container.magic) for container in containers)


def _accept_astc(prefix: bytes) -> bool:
    return _starts_with(prefix, _container.ASTC)


def _accept_ktx(prefix: bytes) -> bool:
    return _starts_with(prefix, _container.KTX1, _container.KTX2, _container.WRAPPED_KTX)


def _accept_pvr(prefix: bytes) -> bool:
    return _starts_with(prefix, _container.PVR3) or prefix.startswith(_LEGACY_PVR_START)


def _save_ktx(image: Image.Image, file: IO[bytes], filename: Optional[Union[str, bytes]]) -> None:
    if image.mode not in ("RGB", "RGBA"):
        raise OSError(f"cannot write mode {image.mode} as KTX")
    if filename and os.fsdecode(filename).lower().endswith(".ktx2"):
        raise OSError("cannot write KTX 2.0: save as .ktx")
    file.write(_writing.encode(_writing.KTX, image))


def _register() -> None:
    for factory, accept, mime, extensions in (
        (AstcImageFile, _accept_astc, "image/astc", [".astc"]),
        (KtxImageFile, _accept_ktx, "image/ktx", [".ktx", ".ktx2"]),
        (PvrImageFile, _accept_pvr, "image/x-pvr", [".pvr"]),
    ):
        Image.register_open(factory.format, factory, accept)
        Image.register_extensions(factory.format, extensions)
        Image.register_mime(factory.format, mime)
    Image.register_save(KtxImageFile.format, _save_ktx)


_register()
