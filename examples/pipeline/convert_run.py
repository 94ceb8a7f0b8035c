"""What the engines share: the command line, the manifest around a run, signals, the summary.

An engine is a function that takes textures one by one, has them converted, and yields their
results as they come, in any order. Closing it stops the work.
"""

from __future__ import annotations

import argparse
import os
import shutil
import signal
import sys
from collections.abc import Callable, Generator, Iterator
from types import FrameType

from manifest import Busy, Manifest, Result
from tree import PART_FOLDER, Texture, find_textures, printable

Engine = Callable[[Iterator[Texture]], Generator[Result, None, None]]

MANIFEST = "manifest.jsonl"
EXIT_FAILED, EXIT_USAGE = 1, 2


class CannotRun(Exception):
    """The engine cannot work at all: a program or a scheduler is missing."""


class Stopped(BaseException):
    """SIGINT or SIGTERM came."""

    def __init__(self, number: int) -> None:
        self.number = number


def make_parser(description: str | None) -> argparse.ArgumentParser:
    """The arguments that all engines take."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("source", metavar="SOURCE", help="folder with textures")
    parser.add_argument("target", metavar="TARGET", help="folder for pictures; made if missing")
    parser.add_argument("--retry", action="store_true", help="try failed files again, changed or not")
    parser.add_argument("--follow-links", action="store_true", help="walk links to folders, too")
    return parser


def check_folders(parser: argparse.ArgumentParser, options: argparse.Namespace) -> None:
    """Makes both folders absolute, creates the target. Ends the program if it cannot."""
    if not os.path.isdir(options.source):
        parser.error(f"{printable(options.source)}: is not a folder")
    options.source = os.path.abspath(options.source)
    options.target = os.path.abspath(options.target)
    part = os.path.join(options.target, PART_FOLDER)
    try:
        os.makedirs(part, exist_ok=True)
    except OSError as error:
        parser.error(f"{printable(options.target)}: cannot be written: {error.strerror}")


def convert_tree(options: argparse.Namespace, engine: Engine) -> int:
    """Runs `engine` over what is left to do; returns the exit code of the program."""
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, _stop)
    try:
        with _open_manifest(os.path.join(options.target, MANIFEST)) as manifest:
            part = os.path.join(options.target, PART_FOLDER)
            shutil.rmtree(part, ignore_errors=True)  # what a killed run left
            os.makedirs(part)
            try:
                return _Run(options, manifest).convert(engine)
            finally:
                shutil.rmtree(part, ignore_errors=True)
    except Stopped as stop:  # before the first file, or again
        return 128 + stop.number
    except Busy:
        _complain("another run is at work in this target")
        return EXIT_USAGE
    except CannotRun as error:
        _complain(str(error))
        return EXIT_USAGE
    except OSError as error:
        _complain(f"cannot go on: {error}")
        return EXIT_FAILED
    finally:
        # From here on there is nobody to catch Stopped. Who asks again wants the end at once.
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.SIG_DFL)


def _open_manifest(file_name: str) -> Manifest:
    try:
        return Manifest(file_name)
    except OSError as error:
        reason = error.strerror or str(error)
        raise CannotRun(f"{printable(file_name)}: cannot be opened: {reason}") from None


class _Run:
    def __init__(self, options: argparse.Namespace, manifest: Manifest) -> None:
        self.options = options
        self.manifest = manifest
        self.converted = 0
        self.unchanged = 0
        self.failures: dict[str, str] = {}

    def convert(self, engine: Engine) -> int:
        stopped_by = None
        results = engine(self.left_to_do())
        try:
            for result in results:
                self.manifest.append(result)
                if result.status == "ok":
                    self.converted += 1
                else:
                    self.failures[result.path] = result.reason
                self.show_progress()
        except Stopped as stop:
            stopped_by = signal.Signals(stop.number)
        except CannotRun:
            if self.converted:
                self.print_summary(None)
            raise
        finally:
            results.close()
        self.print_summary(stopped_by)
        if stopped_by is not None:
            return 128 + stopped_by
        return EXIT_FAILED if self.failures else 0

    def left_to_do(self) -> Iterator[Texture]:
        options = self.options

        def on_error(path: str, error: OSError) -> None:
            self.failures[path] = f"folder cannot be read: {error.strerror}"

        for texture in find_textures(
            options.source, options.target, options.follow_links, on_error
        ):
            known = self.manifest.find(texture, options.target)
            if known is None or (known.status == "failed" and options.retry):
                yield texture
            elif known.status == "failed":
                self.failures[texture.path] = known.reason
            else:
                self.unchanged += 1

    def show_progress(self) -> None:
        if sys.stderr.isatty():
            done = self.converted + len(self.failures)
            print(f"\r{done} done, {len(self.failures)} failed", end="", file=sys.stderr)

    def print_summary(self, stopped_by: signal.Signals | None) -> None:
        if sys.stderr.isatty():
            print(file=sys.stderr)
        for path, reason in sorted(self.failures.items()):
            print(f"failed: {printable(path)}: {printable(reason)}", file=sys.stderr)
        text = (
            f"{self.converted} converted, {len(self.failures)} failed, {self.unchanged} unchanged"
        )
        if stopped_by is not None:
            text += f"; stopped by {stopped_by.name}, the next run goes on from here"
        print(text, flush=True)


def _stop(number: int, frame: FrameType | None) -> None:
    raise Stopped(number)


def _complain(text: str) -> None:
    print(f"{os.path.basename(sys.argv[0])}: {text}", file=sys.stderr)
