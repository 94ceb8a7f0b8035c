#!/usr/bin/env python3
"""Converts a tree of textures to PNG files with GNU parallel and `korutex convert`."""

from __future__ import annotations

import argparse
import math
import os
import shutil
import subprocess
import sys
from collections.abc import Generator, Iterator

import convert_run
from convert_batch import make_result
from manifest import Result
from tree import PART_FOLDER, Texture

BATCH_PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), "convert_batch.py")


def convert_with_parallel(
    options: argparse.Namespace, textures: Iterator[Texture]
) -> Generator[Result, None, None]:
    """The engine: in batches; then, each alone, what was in batches that died."""
    todo = {texture.path: texture for texture in textures}
    for batch_size in (options.batch, 1):
        if todo:
            yield from run_parallel(options, todo, batch_size)
    for texture in todo.values():
        yield make_result(texture, "its worker died", 0)


def run_parallel(
    options: argparse.Namespace, todo: dict[str, Texture], batch_size: int
) -> Generator[Result, None, None]:
    """Hands null-separated paths to GNU parallel, reads manifest lines from it. What has a result
    leaves `todo`."""
    todo_file = os.path.join(options.target, PART_FOLDER, "todo")
    with open(todo_file, "wb") as file:
        file.writelines(os.fsencode(path) + b"\0" for path in todo)
    command = [
        *("parallel", "--plain", "--will-cite"),  # as written here, whatever the user has set up
        *("--null", "--arg-file", todo_file),
        *("--jobs", str(options.jobs)),
        *("--max-args", str(min(batch_size, math.ceil(len(todo) / options.jobs)))),
        "--line-buffer",
        *("--quote", sys.executable, "-ES", BATCH_PROGRAM),  # and then the paths
    ]
    environment = {
        **os.environ,
        "PARALLEL_SHELL": "/bin/sh",
        "KORUTEX_TARGET": options.target,
        "KORUTEX_PROGRAM": options.korutex,
    }
    with subprocess.Popen(
        command,
        cwd=options.source,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        start_new_session=True,  # Ctrl-C comes here, and from here in good order to the batches
    ) as parallel:
        try:
            assert parallel.stdout is not None
            for line in parallel.stdout:
                try:
                    result = Result.from_line(line)
                except ValueError:
                    continue  # torn when its batch was killed; the file has no result yet
                todo.pop(result.path, None)
                yield result
            code = parallel.wait()
        finally:
            parallel.terminate()  # only if it still runs; it ends its batches
    if code not in range(102):  # up to there it counts the batches that died
        raise convert_run.CannotRun(f"GNU parallel failed with exit code {code}")


def main() -> int:
    parser = convert_run.make_parser(__doc__)
    parser.add_argument(
        "-j", "--jobs", type=int, default=os.cpu_count(), metavar="N", help="processes at a time"
    )
    parser.add_argument(
        "--batch", type=int, default=50, metavar="N", help="files for each process (50)"
    )
    parser.add_argument("--korutex", default="korutex", metavar="PROGRAM", help="where it is")
    options = parser.parse_args()
    if options.jobs < 1 or options.batch < 1:
        parser.error("-j and --batch take numbers from 1")
    options.korutex = shutil.which(options.korutex)
    for name, program in (("korutex", options.korutex), ("parallel", shutil.which("parallel"))):
        if program is None:
            parser.error(f"the program {name} is not on the PATH")
    options.korutex = os.path.abspath(options.korutex)
    convert_run.check_folders(parser, options)
    return convert_run.convert_tree(
        options, lambda textures: convert_with_parallel(options, textures)
    )


if __name__ == "__main__":
    sys.exit(main())
