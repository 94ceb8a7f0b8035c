"""Trees to convert, the two engines as commands, and a cluster that many tests share."""

from __future__ import annotations

import contextlib
import json
import os
import shutil
import signal
import struct
import subprocess
import sys
import time
import uuid
from collections.abc import Iterator, Sequence
from pathlib import Path

import pytest
from _pytest.terminal import TerminalReporter

PIPELINE = Path(__file__).resolve().parents[1]
SAMPLES = PIPELINE.parents[1] / "samples"
PROGRAM = os.environ.get("KORUTEX_PROGRAM") or shutil.which("korutex") or "korutex"

sys.path.insert(0, str(PIPELINE))

#: In the environment of everything that is started, so that what is left behind is found.
MARK = f"pipeline-test-{uuid.uuid4().hex}"
CLUSTER_MARK = f"pipeline-cluster-{uuid.uuid4().hex}"


class Engine:
    """One of the drivers. `fast` are options that spare a test the cluster's start."""

    def __init__(self, name: str, *fast: str) -> None:
        self.name = name
        self.fast = fast
        self.script = PIPELINE / f"convert_tree_{name}.py"
        self.two_workers = ["--workers", "2"] if name == "dask" else ["-j", "2"]

    def start(
        self, *arguments: str | Path, environment: dict[str, str] | None = None
    ) -> subprocess.Popen[str]:
        command: list[str | Path] = [sys.executable, self.script, *arguments]
        if self.name == "parallel" and "--korutex" not in arguments:
            command += ["--korutex", PROGRAM]
        return start(command, environment)

    def run(
        self, *arguments: str | Path, environment: dict[str, str] | None = None
    ) -> subprocess.CompletedProcess[str]:
        process = self.start(*arguments, environment=environment)
        try:
            output, errors = process.communicate(timeout=120)
        finally:
            process.kill()
        return subprocess.CompletedProcess(process.args, process.returncode, output, errors)


def start(
    command: Sequence[str | Path], environment: dict[str, str] | None = None
) -> subprocess.Popen[str]:
    return subprocess.Popen(
        command,
        env={**os.environ, "PIPELINE_TEST": MARK, **(environment or {})},
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        encoding="utf-8",
        start_new_session=True,
    )


def find_processes(mark: str = MARK) -> list[int]:
    """Everything that the tests have started and that still runs."""
    found = []
    for entry in os.listdir("/proc"):
        try:
            if entry.isdigit() and mark.encode() in Path(f"/proc/{entry}/environ").read_bytes():
                found.append(int(entry))
        except OSError:
            pass
    return found


def check_all_gone(mark: str = MARK, seconds: float = 30) -> None:
    """Waits for the processes to end by themselves, and ends those that do not."""
    end = time.monotonic() + seconds
    while (left := find_processes(mark)) and time.monotonic() < end:
        time.sleep(0.05)
    for process in left:
        os.kill(process, signal.SIGKILL)
    assert not left, f"{len(left)} processes were left behind"


def write_pvr(path: Path, width: int, height: int, pixels: bytes) -> None:
    """A PVR file of version 3 with 8-bit RGBA."""
    form = struct.unpack("<Q", b"rgba\x08\x08\x08\x08")[0]
    header = struct.pack(
        "<IIQIIIIIIIII", 0x03525650, 0, form, 0, 0, height, width, 1, 1, 1, 1, 0
    )
    path.write_bytes(header + pixels)


@pytest.fixture(autouse=True)
def nothing_left_behind() -> Iterator[None]:
    yield
    check_all_gone()


@contextlib.contextmanager
def run_cluster(folder: Path) -> Iterator[tuple[str, subprocess.Popen[str]]]:
    """A scheduler and a worker of two threads, as a user would start them: address and process."""
    file = folder / "scheduler.json"
    loopback = ["--host", "127.0.0.1", "--port", "0", "--dashboard-address", "127.0.0.1:0"]
    options = ["--no-dashboard", "--scheduler-file", str(file)]
    of_worker = ["--nthreads", "2", "--local-directory", str(folder), "--death-timeout", "2"]
    processes = [
        start(command, {"PIPELINE_TEST": CLUSTER_MARK})
        for command in (
            ["dask-scheduler", *loopback, *options],
            ["dask-worker", *options, *of_worker],
        )
    ]
    try:
        end = time.monotonic() + 60
        while not file.exists() or not file.read_text().strip():
            assert time.monotonic() < end and processes[0].poll() is None, "no scheduler"
            time.sleep(0.05)
        yield json.loads(file.read_text())["address"], processes[0]
    finally:
        for process in reversed(processes):
            process.terminate()
            try:
                process.communicate(timeout=30)
            except subprocess.TimeoutExpired:
                process.kill()


@pytest.fixture(scope="session")
def scheduler(tmp_path_factory: pytest.TempPathFactory) -> Iterator[str]:
    """The address of one for all tests."""
    with run_cluster(tmp_path_factory.mktemp("cluster")) as (address, _):
        yield address
    check_all_gone(CLUSTER_MARK)


@pytest.fixture(params=["dask", "parallel"])
def engine(request: pytest.FixtureRequest) -> Engine:
    """Each driver as a user starts it, with two workers of its own."""
    return Engine(request.param)


@pytest.fixture(params=["dask", "parallel"])
def quick_engine(request: pytest.FixtureRequest) -> Engine:
    """Each driver; Dask with the workers that all tests share."""
    if request.param == "parallel":
        return Engine("parallel", "-j", "2")
    return Engine("dask", "--scheduler", request.getfixturevalue("scheduler"))


def pytest_terminal_summary(terminalreporter: TerminalReporter) -> None:
    def count(*outcomes: str) -> int:
        return sum(len(terminalreporter.getreports(outcome)) for outcome in outcomes)

    terminalreporter.write_line(
        f"{count('passed')} passed, {count('failed', 'error')} failed, {count('skipped')} skipped"
    )
