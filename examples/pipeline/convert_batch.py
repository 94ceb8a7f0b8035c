"""Converts a batch of textures with one `korutex convert`; GNU parallel runs this.

Arguments: paths relative to the current folder, which is the source. KORUTEX_TARGET is the target
folder, KORUTEX_PROGRAM the program. Prints one manifest line for each file as it is done.

The program writes pictures under the inputs' names into one folder and refuses two of the same
name. So it sees the batch as numbered links in a folder of its own, which also keeps odd names out
of its output: "3.in -> done/3.png (64x64)" or "korutex: 3.in: is too short ...".
"""

from __future__ import annotations

import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from types import FrameType

from manifest import Result
from tree import PART_FOLDER, Texture, look_at, result_path

CONVERTED = re.compile(r"(\d+)\.in -> ")
FAILED = re.compile(r"korutex: (?:done/)?(\d+)\.\w+: (?!warning: )(.*)")


def convert_batch(textures: list[Texture], target: str, program: str) -> Iterator[Result]:
    """Runs the program once. If it dies over one of several files, some get no result."""
    part = os.path.join(target, PART_FOLDER)
    with tempfile.TemporaryDirectory(dir=part, ignore_cleanup_errors=True) as stage:
        links = []
        for number, texture in enumerate(textures):
            links.append(f"{number}.in")  # the contents say what it is
            os.symlink(os.path.abspath(texture.path), os.path.join(stage, links[-1]))
        started = time.monotonic()
        with subprocess.Popen(
            [program, "convert", "-j", "1", "-o", "done/", *links],
            cwd=stage,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            encoding="utf-8",
            errors="replace",
        ) as process:
            try:
                assert process.stdout is not None
                told = 0
                for line in process.stdout:
                    if match := CONVERTED.match(line):
                        texture, reason = textures[int(match[1])], ""
                        made = os.path.join(stage, "done", f"{match[1]}.png")
                        try:
                            put_in_place(made, os.path.join(target, result_path(texture.path)))
                        except OSError as error:
                            reason = f"cannot be written: {error.strerror}"
                    elif match := FAILED.match(line):
                        texture, reason = textures[int(match[1])], match[2]
                    else:
                        continue
                    now = time.monotonic()
                    yield make_result(texture, reason, now - started)
                    started = now
                    told += 1
                process.wait()
            finally:
                process.kill()  # only if it still runs: this batch was stopped
        if told == 0 and len(textures) == 1:
            code = process.returncode
            ending = f"by {signal.Signals(-code).name}" if code < 0 else f"with exit code {code}"
            yield make_result(
                textures[0], f"its worker died {ending}", time.monotonic() - started
            )


def put_in_place(made: str, picture: str) -> None:
    os.makedirs(os.path.dirname(picture), exist_ok=True)
    os.replace(made, picture)


def make_result(texture: Texture, reason: str, seconds: float) -> Result:
    return Result(
        path=texture.path,
        size=texture.size,
        mtime_ns=texture.mtime_ns,
        result=result_path(texture.path),
        status="failed" if reason else "ok",
        reason=reason,
        seconds=round(seconds, 6),
    )


def stop(number: int, frame: FrameType | None) -> None:
    sys.exit(128 + number)  # cleans up on its way


def main() -> None:
    signal.signal(signal.SIGTERM, stop)
    # What vanished since the walk is left to the program to complain about.
    textures = [look_at(".", path) or Texture(path, None, None) for path in sys.argv[1:]]
    for result in convert_batch(
        textures, os.environ["KORUTEX_TARGET"], os.environ["KORUTEX_PROGRAM"]
    ):
        sys.stdout.write(result.to_line())
        sys.stdout.flush()


if __name__ == "__main__":
    main()
