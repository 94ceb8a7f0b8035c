"""What the tests share: where files are, processes of their own, and the line that sums up."""

from __future__ import annotations

import gc
import os
import subprocess
import sys
from pathlib import Path
from typing import Callable, Iterator

import pytest

import korutex
from korutex._library import Library, get_library

PACKAGE_FOLDER = Path(korutex.__file__).resolve().parent
PROJECT = Path(__file__).resolve().parents[3]
SAMPLES = sorted((PROJECT / "samples").glob("testcard-*"))


def pytest_terminal_summary(terminalreporter) -> None:
    def count(*outcomes: str) -> int:
        return sum(len(terminalreporter.getreports(outcome)) for outcome in outcomes)

    terminalreporter.write_line(
        f"{count('passed')} passed, {count('failed', 'error')} failed, {count('skipped')} skipped"
    )


@pytest.fixture(params=SAMPLES, ids=lambda path: path.name)
def sample(request: pytest.FixtureRequest) -> Path:
    return request.param


@pytest.fixture(scope="session")
def korutex_program() -> str:
    """The host program, which reads the same files on a way of its own."""
    return os.environ["KORUTEX_PROGRAM"]


@pytest.fixture
def run_python() -> Callable[..., subprocess.CompletedProcess[str]]:
    """Runs code in a fresh process, and expects it to end well and silently."""

    def run(code: str, *arguments: object, **environment: str):
        process = subprocess.run(
            [sys.executable, "-B", "-X", "faulthandler", "-c", code, *map(str, arguments)],
            env={**os.environ, **environment},
            # Python looks for modules there first.
            cwd="/",
            capture_output=True,
            text=True,
            errors="surrogateescape",
            timeout=300,
        )
        assert (process.returncode, process.stderr) == (0, ""), process.stdout
        return process

    return run


@pytest.fixture
def library() -> Iterator[Library]:
    """The library, whose functions a test may wrap; they are put back afterwards."""
    library = get_library()
    kept = dict(library.__dict__)
    for name in ("_load_file", "_load_memory", "_write"):
        library.__dict__[name] = dict(kept[name])
    yield library
    library.__dict__.update(kept)


@pytest.fixture
def deleted(library: Library, monkeypatch: pytest.MonkeyPatch) -> list[int]:
    """The addresses of the records that were freed since."""
    gc.collect()  # nothing of other tests
    addresses: list[int] = []
    delete = library._delete

    def note(address: int) -> None:
        addresses.append(address)
        delete(address)

    monkeypatch.setattr(library, "_delete", note)
    return addresses
