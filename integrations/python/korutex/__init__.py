"""Opens GPU texture files (ASTC, KTX, PVR) as 8-bit RGB or RGBA images.

    import korutex

    with korutex.load("texture.ktx2") as image:
        print(image.width, image.height, image.mode)
        first_row = bytes(image.pixels[:1])

`import korutex.pillow` teaches Pillow the same files.
"""

from ._errors import DecodeError, Error, LibraryNotFoundError, UnsupportedFileError, WriteError
from ._image import Image
from ._loading import load, probe, read_size
from ._record import HEADER_ONLY, RGB, RGBA
from ._writing import write_ktx, write_pvr

__version__ = "0.1.0"

__all__ = [
    "HEADER_ONLY",
    "RGB",
    "RGBA",
    "DecodeError",
    "Error",
    "Image",
    "LibraryNotFoundError",
    "UnsupportedFileError",
    "WriteError",
    "load",
    "probe",
    "read_size",
    "write_ktx",
    "write_pvr",
]
