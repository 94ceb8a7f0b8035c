"""One call at a time, from any number of threads and in children."""

from __future__ import annotations

import concurrent.futures
import random
import sys
import threading
import time

from conftest import SAMPLES
from texture_files import make_ktx1, make_pixels, make_pvr3

import korutex


def test_threads_get_the_pixels_that_one_thread_gets():
    pixels = make_pixels(9, 9, 4)
    sources = [*SAMPLES, *(path.read_bytes() for path in SAMPLES)]
    sources += [make_ktx1(9, 9, pixels), make_pvr3(9, 9, pixels)]
    sources += [make_ktx1(9, 9, make_pixels(9, 9, 3), channels=3)]
    expected = [korutex.load(source).tobytes() for source in sources]
    order = list(range(len(sources))) * 6
    random.Random(1).shuffle(order)
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    try:
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            for index, found in zip(
                order, pool.map(lambda i: korutex.load(sources[i]).tobytes(), order)
            ):
                assert found == expected[index]
    finally:
        sys.setswitchinterval(interval)


def test_calls_do_not_overlap(library, tmp_path):
    running, overlaps = [], []

    def watch(function):
        def call(*arguments):
            if running:
                overlaps.append(1)
            running.append(1)
            time.sleep(0.001)  # lets the others run
            try:
                return function(*arguments)
            finally:
                running.pop()

        return call

    for functions in (library._load_file, library._load_memory, library._write):
        for family, function in functions.items():
            functions[family] = watch(function)
    library._delete = watch(library._delete)
    path = tmp_path / "x.ktx"
    path.write_bytes(make_ktx1(9, 9, make_pixels(9, 9, 4)))

    def work(number):
        korutex.load(path).close()
        with korutex.load(path.read_bytes(), korutex.RGB) as image:
            korutex.write_ktx(tmp_path / f"{number}.ktx", image)

    with concurrent.futures.ThreadPoolExecutor(6) as pool:
        list(pool.map(work, range(20)))
    assert overlaps == []


def test_freeing_does_not_wait_for_a_load(library, deleted):
    """A thread that frees an image may hold a lock that the loading thread will want."""
    contents = make_ktx1(9, 9, make_pixels(9, 9, 4))
    image = korutex.load(contents)
    inside, go_on = threading.Event(), threading.Event()
    load = library._load_memory["KTX"]

    def stand_still(*arguments):
        inside.set()
        assert go_on.wait(60)
        return load(*arguments)

    library._load_memory["KTX"] = stand_still
    thread = threading.Thread(target=lambda: korutex.load(contents).close())
    thread.start()
    assert inside.wait(60)
    image.close()  # would hang here
    assert deleted == []
    go_on.set()
    thread.join(60)
    assert len(deleted) == 2


def test_children_of_a_fork_amid_a_load(run_python, tmp_path):
    path = tmp_path / "x.ktx"
    path.write_bytes(make_ktx1(300, 300, make_pixels(300, 300, 4)))
    code = """
import os, sys, threading, warnings, korutex
warnings.simplefilter("ignore", DeprecationWarning)  # of forks among threads
expected = korutex.load(sys.argv[1]).tobytes()
done = False
def keep_loading():
    while not done:
        korutex.load(sys.argv[1])
threads = [threading.Thread(target=keep_loading) for _ in range(3)]
for thread in threads: thread.start()
failed = 0
for _ in range(30):
    child = os.fork()
    if child == 0:
        os._exit(0 if korutex.load(sys.argv[1]).tobytes() == expected else 3)
    failed += os.waitpid(child, 0)[1] != 0
done = True
for thread in threads: thread.join()
print(failed)
"""
    assert run_python(code, path).stdout == "0\n"
