#!/usr/bin/env python3
"""Converts a tree of textures to PNG files with Dask and the Python package korutex.

Without --scheduler the workers are processes on this machine, which end with the run. The workers
of another scheduler need SOURCE and TARGET under the same absolute paths, and the packages korutex
and Pillow.
"""

from __future__ import annotations

import argparse
import asyncio
import contextlib
import itertools
import logging
import os
import signal
import sys
from collections.abc import Generator, Iterator
from concurrent.futures import CancelledError
from multiprocessing import resource_tracker
from typing import Any

import dask
from distributed import Client, Future, LocalCluster, as_completed
from distributed.scheduler import KilledWorker

import convert_run
from manifest import Result
from tree import PART_FOLDER, Texture, result_path

#: Submitted and unfinished tasks for each thread of a worker: enough that none waits for the next,
#: few enough that a scheduler with a million files ahead keeps its memory.
TASKS_PER_THREAD = 4


def convert_files(source: str, target: str, part: str, paths: list[str]) -> list[dict[str, Any]]:
    """What a worker does: the manifest's fields for each file. It travels to the workers by
    itself, so it uses nothing else of this program."""
    import os
    import time
    import uuid

    import korutex
    import numpy
    from PIL import Image

    def write_picture(path: str, picture_path: str) -> None:
        temporary = os.path.join(part, uuid.uuid4().hex)
        with korutex.load(os.path.join(source, path), flags=korutex.RGBA) as image:
            picture = Image.fromarray(numpy.asarray(image))
            try:
                with open(temporary, "xb") as file:
                    picture.save(file, "PNG")
                os.makedirs(os.path.dirname(picture_path), exist_ok=True)
                os.replace(temporary, picture_path)
            except OSError as error:
                raise OSError(f"cannot be written: {error.strerror or error}") from error
            finally:
                if os.path.exists(temporary):
                    os.remove(temporary)

    results = []
    for path in paths:
        started = time.monotonic()
        result: dict[str, Any] = {"path": path, "result": path + ".png", "size": None, "mtime_ns": None}
        try:
            status = os.stat(os.path.join(source, path))
            result |= {"size": status.st_size, "mtime_ns": status.st_mtime_ns}
            write_picture(path, os.path.join(target, path + ".png"))
            result |= {"status": "ok", "reason": ""}
        except ImportError:
            raise  # no file would do better
        except Exception as error:  # whatever it is, the other files go on
            reason = getattr(error, "strerror", None) or str(error) or type(error).__name__
            reason = reason.removeprefix(os.path.join(source, path) + ": ")
            result |= {"status": "failed", "reason": reason}
        results.append(result | {"seconds": round(time.monotonic() - started, 6)})
    return results


def convert_with_dask(
    options: argparse.Namespace, textures: Iterator[Texture]
) -> Generator[Result, None, None]:
    """The engine. It starts no workers for nothing."""
    first = list(itertools.islice(textures, 1))
    if not first:
        return
    textures = itertools.chain(first, textures)
    try:
        with connect(options) as client:
            yield from convert_with(client, options, textures)
    except (CancelledError, asyncio.CancelledError, OSError) as error:
        raise convert_run.CannotRun("the scheduler has gone away") from error


def convert_with(
    client: Client, options: argparse.Namespace, textures: Iterator[Texture]
) -> Iterator[Result]:
    """The engine's work: a window of tasks that moves over the textures."""
    part = os.path.join(options.target, PART_FOLDER)

    def submit(batch: list[Texture]) -> Future:
        paths = [texture.path for texture in batch]
        future: Future = client.submit(
            convert_files, options.source, options.target, part, paths, pure=False
        )
        return future

    batches = iter(lambda: list(itertools.islice(textures, options.batch)), [])
    window = TASKS_PER_THREAD * sum(client.nthreads().values())
    running = {submit(batch): batch for batch in itertools.islice(batches, window)}
    died: list[Texture] = []
    done = as_completed(list(running))
    for future in done:
        batch = running.pop(future)
        error = future.exception()
        if isinstance(error, KilledWorker):
            died += batch
        else:
            yield from results_of(future, error, batch)
        for batch in itertools.islice(batches, 1):
            future = submit(batch)
            running[future] = batch
            done.add(future)

    # Whoever worked beside a deadly file died with it. Alone it shows which file it is.
    for texture in died:
        future = submit([texture])
        yield from results_of(future, future.exception(), [texture])


def results_of(
    future: Future, error: BaseException | None, batch: list[Texture]
) -> Iterator[Result]:
    """The results of a finished task. Raises CannotRun when other tasks would fail as well."""
    if error is None:
        for fields in future.result():
            yield Result(**fields)
        return
    if isinstance(error, (CancelledError, asyncio.CancelledError)):
        raise error
    if isinstance(error, ImportError):
        raise convert_run.CannotRun(f"a worker lacks a package: {error}")
    reason = "its worker died" if isinstance(error, KilledWorker) else repr(error)
    for texture in batch:
        yield Result(
            path=texture.path,
            size=texture.size,
            mtime_ns=texture.mtime_ns,
            result=result_path(texture.path),
            status="failed",
            reason=reason,
            seconds=0,
        )


@contextlib.contextmanager
def connect(options: argparse.Namespace) -> Iterator[Client]:
    """A client of the scheduler that was named, or of workers that end with it."""
    for name in ("distributed", "distributed.client"):
        logging.getLogger(name).setLevel(logging.CRITICAL)  # what matters is told here
    with contextlib.ExitStack() as stack:
        where = options.scheduler or stack.enter_context(start_cluster(options))
        try:
            client = stack.enter_context(Client(where, timeout=options.timeout))
            client.wait_for_workers(1, timeout=options.timeout)
        except (OSError, ValueError) as error:
            raise convert_run.CannotRun(f"no workers at {where}: {error}") from None
        yield client


def start_cluster(options: argparse.Namespace) -> LocalCluster:
    dask.config.set({"distributed.scheduler.allowed-failures": options.allowed_failures})
    # What starts while Ctrl-C is blocked does not get it: the workers' end is this program's task.
    resource_tracker.ensure_running()  # when it starts, it ends the blocking
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        return LocalCluster(
            n_workers=options.workers,
            threads_per_worker=1,  # the library runs one call at a time in a process
            processes=True,
            # Without these, what is left of the dashboards listens on fixed and on public ports.
            dashboard_address="127.0.0.1:0",
            worker_dashboard_address="127.0.0.1:0",
            scheduler_kwargs={"dashboard": False},
            local_directory=os.path.join(options.target, PART_FOLDER),
            silence_logs="CRITICAL",
        )
    finally:
        signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGINT})


def main() -> int:
    parser = convert_run.make_parser(__doc__)
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of a running one: tcp://host:8786")
    parser.add_argument(
        "--timeout", type=float, default=30, metavar="SECONDS", help="to wait for it (30)"
    )
    parser.add_argument(
        "--workers", type=int, default=os.cpu_count(), metavar="N", help="processes to start"
    )
    parser.add_argument(
        "--allowed-failures",
        type=int,
        default=3,
        metavar="N",
        help="workers that a file may outlive, of those started here (3)",
    )
    parser.add_argument("--batch", type=int, default=8, metavar="N", help="files for each task (8)")
    options = parser.parse_args()
    if options.workers < 1 or options.batch < 1 or options.allowed_failures < 0:
        parser.error("--workers and --batch take numbers from 1, --allowed-failures from 0")
    convert_run.check_folders(parser, options)
    return convert_run.convert_tree(options, lambda textures: convert_with_dask(options, textures))


if __name__ == "__main__":
    sys.exit(main())
