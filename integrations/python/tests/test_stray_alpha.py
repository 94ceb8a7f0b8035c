"""A picture does not depend on what was loaded before.

Every test runs in a process of its own: what it has loaded cannot be taken back.
"""

from __future__ import annotations

from pathlib import Path

# All sorts of PVR files, and how to load them.
FILES = """
import itertools, random, sys
sys.path.insert(0, sys.argv[1])
import korutex
from texture_files import make_ktx1, make_pixels, make_pvr3, make_pvr_legacy

SIZE = 8
PAYLOAD = bytes(random.Random(3).randrange(256) for _ in range(SIZE * SIZE * 4))
NAMES = [name.ljust(4, b"\\0") for name in (
    b"rgba", b"bgra", b"rgbx", b"rgb", b"bgr", b"r", b"g", b"b", b"a", b"l",
    b"rg", b"la", b"argb", b"")]
WIDTHS = [(8, 8, 8, 8), (8, 8, 8, 0), (10, 10, 10, 2), (11, 11, 10, 0), (4, 4, 4, 4), (5, 6, 5, 0),
          (5, 5, 5, 0), (5, 5, 5, 1), (8, 0, 0, 0), (1, 2, 3, 4)]
LEGACY_TYPES = [0, 1, 9, *range(10, 38), *range(53, 58), 80, 128, 255]
files = [make_pvr3(SIZE, SIZE, PAYLOAD, names, bytes(widths))
         for names, widths in itertools.product(NAMES, WIDTHS)]
files += [make_pvr3(SIZE, SIZE, PAYLOAD, bytes([number, 0, 0, 0]), bytes(4))
          for number in range(28)]
files += [make_pvr_legacy(SIZE, SIZE, pixel_type, PAYLOAD) for pixel_type in LEGACY_TYPES]
files += [make_ktx1(SIZE, SIZE, PAYLOAD[: SIZE * SIZE * 3], channels=3)]

def load(contents, flags):
    try:
        return korutex.load(contents, flags).tobytes()
    except korutex.DecodeError:
        return None

"""


def run(run_python, code):
    return run_python(FILES + code, Path(__file__).parent).stdout


# Each file is compared with what a process gives that has loaded nothing else. The children of a
# fork are such processes.
EACH_IN_A_CHILD = """
import hashlib, os
def digest(pixels):
    return hashlib.sha256(pixels).digest() if pixels is not None else bytes(32)

def load_in_a_child(contents, flags):
    ours, theirs = os.pipe()
    child = os.fork()
    if child == 0:
        os.write(theirs, digest(load(contents, flags)))
        os._exit(0)
    os.close(theirs)
    found = os.read(ours, 32)
    os.close(ours)
    assert os.waitpid(child, 0)[1] == 0
    return found

cases = [(contents, flags) for contents in files for flags in (korutex.RGBA, korutex.RGB)]
first = [load_in_a_child(*case) for case in cases]
for alpha in (make_pvr3(SIZE, SIZE, PAYLOAD), make_ktx1(SIZE, SIZE, PAYLOAD)):
    assert korutex.load(alpha).tobytes() == PAYLOAD
later = [digest(load(*case)) for case in cases]
print(sum(one != other for one, other in zip(first, later)), sum(one != bytes(32) for one in first))
"""


def test_no_picture_depends_on_earlier_loads(run_python):
    differing, loaded = map(int, run(run_python, EACH_IN_A_CHILD).split())
    assert differing == 0
    assert loaded > 150


def test_the_library_alone_would_show_stray_alpha(run_python):
    """Else the test above could not fail."""
    code = (
        "import korutex._loading\n"
        "korutex._loading.make_opaque = lambda pixels: None\n"
        "files = [make_pvr3(SIZE, SIZE, PAYLOAD, b'rgb\\0'), make_ktx1(SIZE, SIZE, PAYLOAD)]\n"
    ) + EACH_IN_A_CHILD
    differing, loaded = map(int, run(run_python, code).split())
    assert (differing, loaded) == (1, 4)


def test_alpha_by_order_of_loads(run_python):
    code = """
rgb_with_a_fourth = make_pvr3(SIZE, SIZE, PAYLOAD, b"rgb\\0")
before = korutex.load(rgb_with_a_fourth).pixels
assert korutex.load(make_pvr3(SIZE, SIZE, PAYLOAD)).tobytes() == PAYLOAD
after = korutex.load(rgb_with_a_fourth).pixels
opaque = bytes(255 if i % 4 == 3 else byte for i, byte in enumerate(PAYLOAD))
print(before.tobytes() == opaque, after.tobytes() == opaque)
"""
    assert run(run_python, code) == "True True\n"


def test_make_opaque_of_sizes_around_its_step():
    from korutex._stray_alpha import make_opaque

    for size in (4, 8, (1 << 16) - 4, 1 << 16, (1 << 16) + 4, (3 << 16) + 8):
        pixels = bytearray(b"\1\2\3\4" * (size // 4))
        make_opaque(memoryview(pixels))
        assert pixels == b"\1\2\3\xff" * (size // 4)
