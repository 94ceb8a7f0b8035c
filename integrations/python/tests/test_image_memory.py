"""Views of the pixels, and how long their memory lives."""

from __future__ import annotations

import gc
import pickle
import sys
import weakref

import numpy
import pytest
from texture_files import make_ktx1, make_pixels

import korutex

WIDTH, HEIGHT = 61, 47
PIXELS = make_pixels(WIDTH, HEIGHT, 4)
CONTENTS = make_ktx1(WIDTH, HEIGHT, PIXELS)


def overwrite_freed_memory():
    """Takes blocks of the size of the pixels and fills them, as a dangling view would show."""
    return [korutex.load(make_ktx1(WIDTH, HEIGHT, bytes(len(PIXELS)))) for _ in range(8)]


def test_pixels_are_rows_of_pixels():
    view = korutex.load(CONTENTS).pixels
    assert (view.shape, view.format, view.itemsize) == ((HEIGHT, WIDTH, 4), "B", 1)
    assert view.c_contiguous and not view.readonly
    assert view[3, 5, 2] == PIXELS[(3 * WIDTH + 5) * 4 + 2]
    assert view.tobytes() == PIXELS


def test_memoryview_of_an_image():
    image = korutex.load(CONTENTS)
    if sys.version_info >= (3, 12):
        view = memoryview(image)
        assert (view.shape, view.tobytes()) == ((HEIGHT, WIDTH, 4), PIXELS)
        assert bytes(image) == PIXELS
    else:
        with pytest.raises(TypeError):
            memoryview(image)
        assert image.__buffer__(0) == image.pixels


def test_all_views_are_the_record_s_memory(library):
    addresses = []
    load = library._load_memory["KTX"]

    def note(*arguments):
        record = load(*arguments)
        addresses.append(record.contents.pixels)
        return record

    library._load_memory["KTX"] = note
    image = korutex.load(CONTENTS)
    by_interface = numpy.asarray(image)
    by_buffer = numpy.asarray(image.pixels)
    assert [by_interface.ctypes.data, by_buffer.ctypes.data] == addresses * 2
    assert numpy.shares_memory(by_interface, by_buffer)
    assert by_interface.shape == (HEIGHT, WIDTH, 4)
    assert by_interface.dtype == numpy.uint8
    by_interface[0, 0] = (9, 8, 7, 6)
    assert image.tobytes()[:4] == bytes([9, 8, 7, 6])


@pytest.mark.parametrize(
    "look",
    [lambda image: image, lambda image: image.pixels, numpy.asarray],
    ids=["image", "view", "array"],
)
@pytest.mark.parametrize("survives", [False, True])
def test_finalizers_in_a_cycle_may_use_the_pixels(look, survives, deleted):
    seen, survivors = [], []

    class Holder:
        def __init__(self):
            self.cycle = self
            self.held = look(korutex.load(CONTENTS))

        def __del__(self):
            seen.append((len(deleted), self.held.tobytes()))
            if survives:
                survivors.append(self.held)

    Holder()
    gc.collect()
    assert seen == [(0, PIXELS)]
    if survives:
        overwrite_freed_memory()
        assert survivors.pop().tobytes() == PIXELS
    gc.collect()
    assert len(deleted) == (9 if survives else 1)


@pytest.mark.parametrize("end", ["collect", "close", "with"])
@pytest.mark.parametrize(
    "look",
    [
        lambda image: image.pixels,
        lambda image: image.pixels[1:3],
        numpy.asarray,
        lambda image: numpy.asarray(image)[::2, 1:, :3],
        lambda image: image.__array_interface__["data"],
    ],
    ids=["view", "part of a view", "array", "part of an array", "interface"],
)
def test_views_outlive_the_image(look, end, deleted):
    image = korutex.load(CONTENTS)
    view = look(image)
    expected = bytes(view.tobytes())
    if end == "close":
        image.close()
    elif end == "with":
        with image:
            pass
    del image
    gc.collect()
    assert deleted == []
    others = overwrite_freed_memory()
    assert view.tobytes() == expected
    del view
    gc.collect()
    assert len(deleted) == 1
    del others


@pytest.mark.parametrize("end", ["collect", "close", "close twice", "with"])
def test_the_record_is_freed_once(end, deleted):
    image = korutex.load(CONTENTS)
    image.pixels[0, 0, 0], image.tobytes()
    if end.startswith("close"):
        image.close()
        assert len(deleted) == 1
        if end == "close twice":
            image.close()
    elif end == "with":
        with image as same:
            assert same is image
        assert len(deleted) == 1
    del image
    gc.collect()
    assert len(deleted) == 1


def test_an_image_in_a_cycle_is_freed(deleted):
    class Holder:
        pass

    holder = Holder()
    holder.self, holder.image = holder, korutex.load(CONTENTS)
    del holder
    gc.collect()
    assert len(deleted) == 1


def test_an_image_freed_amid_a_load(library, deleted):
    """The collector runs wherever it wants, also in the thread that is loading."""
    old = korutex.load(CONTENTS)
    load = library._load_memory["KTX"]

    def free_old(*arguments):
        nonlocal old
        old = None
        gc.collect()
        return load(*arguments)

    library._load_memory["KTX"] = free_old
    assert korutex.load(CONTENTS).tobytes() == PIXELS
    gc.collect()
    assert len(deleted) == 2


def test_a_closed_image_keeps_its_sizes_alone():
    image = korutex.load(CONTENTS)
    image.close()
    assert image.closed and image.size == (WIDTH, HEIGHT)
    for look in (lambda: image.pixels, image.tobytes, lambda: numpy.asarray(image)):
        with pytest.raises(ValueError, match="closed"):
            look()
    assert "closed" in repr(image)


def test_releasing_a_view_leaves_the_image():
    image = korutex.load(CONTENTS)
    with image.pixels:
        pass
    assert image.tobytes() == PIXELS


def test_repr():
    assert repr(korutex.load(CONTENTS)) == f"<korutex.Image {WIDTH} x {HEIGHT} RGBA from KTX 1.1>"
    without = korutex.load(CONTENTS, korutex.HEADER_ONLY)
    assert repr(without).endswith("RGB from KTX 1.1 without pixels>")


def test_images_are_not_pickled():
    with pytest.raises(TypeError, match="asarray"):
        pickle.dumps(korutex.load(CONTENTS))


def test_images_may_be_watched():
    image = korutex.load(CONTENTS)
    watched = weakref.ref(image)
    assert watched() is image
    del image
    assert watched() is None


def test_a_process_ends_well_with_images_alive(tmp_path, run_python):
    path = tmp_path / "x.ktx"
    path.write_bytes(CONTENTS)
    code = """
import sys, numpy, korutex

class Cycle:
    def __init__(self, path):
        self.me, self.image = self, korutex.load(path)

image = korutex.load(sys.argv[1])
array = numpy.asarray(korutex.load(sys.argv[1]))
view = korutex.load(sys.argv[1]).pixels
cycle = Cycle(sys.argv[1])
sys.modules["kept"] = korutex.load(sys.argv[1])
print(int(array.sum()) == sum(view.tobytes()) == sum(image.tobytes()))
"""
    assert run_python(code, path).stdout == "True\n"


def test_views_live_on_in_exit_handlers_that_run_last(tmp_path, run_python):
    path = tmp_path / "x.ktx"
    path.write_bytes(CONTENTS)
    code = """
import atexit, sys
kept = []
atexit.register(lambda: print(sum(kept[0].tobytes())))  # first in, last out
import korutex
kept.append(korutex.load(sys.argv[1]).pixels)
"""
    # The allocator overwrites what is freed, so memory freed too early shows.
    assert run_python(code, path, MALLOC_PERTURB_="165").stdout == f"{sum(PIXELS)}\n"


def test_memory_does_not_grow(run_python, tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(make_ktx1(512, 512, bytes(512 * 512 * 4)))
    code = """
import resource, sys, numpy, korutex
contents = open(sys.argv[1], "rb").read()
def work(count):
    for _ in range(count):
        korutex.load(sys.argv[1]).close()
        numpy.asarray(korutex.load(contents))
        korutex.read_size(contents)
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
before = work(5)
print(work(200) - before)
"""
    # 400 images of 1 MiB; the allocator's own mood is below a few of them.
    assert int(run_python(code, path).stdout) < 40 * 1024
