"""Drivers that are killed or stopped in the middle, and workers that die."""

from __future__ import annotations

import os
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest
from conftest import PIPELINE, PROGRAM, SAMPLES, Engine, check_all_gone, run_cluster
from PIL import Image
from test_conversion import read_manifest, read_picture

COUNT = 60


def make_many(source: Path) -> None:
    """Enough work that a signal comes in the middle."""
    source.mkdir()
    for number in range(COUNT):
        os.link(SAMPLES / "testcard-8x8.astc", source / f"{number}.astc")


def start_and_wait_for_results(
    engine: Engine, source: Path, target: Path, *options: str
) -> subprocess.Popen[str]:
    """Returns when a few files are done and many are not."""
    options = options or tuple(engine.two_workers)
    process = engine.start(source, target, *options, "--batch", "2")
    manifest = target / "manifest.jsonl"
    end = time.monotonic() + 60
    while not manifest.exists() or manifest.read_bytes().count(b"\n") < 6:
        assert process.poll() is None and time.monotonic() < end, "no results"
        time.sleep(0.01)
    return process


def test_a_killed_run_is_resumed(engine: Engine, tmp_path: Path) -> None:
    source, target = tmp_path / "source", tmp_path / "target"
    make_many(source)
    process = start_and_wait_for_results(engine, source, target)
    process.kill()
    process.communicate()
    check_all_gone()

    done = len(read_manifest(target))
    assert 6 <= done < COUNT
    expected = read_picture(next(target.glob("*.png")))
    with Image.open(next(target.glob("*.png"))) as picture:
        assert picture.size == (320, 240)
    for picture_file in target.glob("*.png"):
        assert read_picture(picture_file) == expected

    other = Engine({"dask": "parallel", "parallel": "dask"}[engine.name])
    run = other.run(source, target, *other.two_workers)
    assert run.returncode == 0, run.stderr
    assert run.stdout == f"{COUNT - done} converted, 0 failed, {done} unchanged\n"
    pictures = list(target.glob("*.png"))
    assert len(pictures) == COUNT
    for picture_file in pictures:
        assert read_picture(picture_file) == expected
    assert sorted(os.listdir(target)) == sorted(
        ["manifest.jsonl", *(picture_file.name for picture_file in pictures)]
    )


@pytest.mark.parametrize(
    "engine_name, number",
    [("dask", signal.SIGINT), ("parallel", signal.SIGINT), ("parallel", signal.SIGTERM)],
)
def test_a_stopped_run_tells_how_far_it_came(
    engine_name: str, number: signal.Signals, tmp_path: Path
) -> None:
    engine = Engine(engine_name)
    source, target = tmp_path / "source", tmp_path / "target"
    make_many(source)
    process = start_and_wait_for_results(engine, source, target)
    if number == signal.SIGINT:
        os.killpg(process.pid, number)  # as a terminal does
    else:
        process.send_signal(number)
    output, errors = process.communicate(timeout=60)
    done = len(read_manifest(target))
    assert process.returncode == 128 + number
    assert output == (
        f"{done} converted, 0 failed, 0 unchanged; "
        f"stopped by {number.name}, the next run goes on from here\n"
    )
    assert errors == ""
    assert 6 <= done < COUNT
    assert ".korutex-part" not in os.listdir(target)


SLOW_END = """
import argparse, atexit, os, signal, sys
import convert_run

def engine(textures):
    os.kill(os.getpid(), int(sys.argv[2]))
    yield from ()

# As workers that were still starting are waited for.
atexit.register(lambda: os.kill(os.getpid(), int(sys.argv[2])))
options = argparse.Namespace(source=".", target=sys.argv[1], follow_links=False, retry=False)
sys.exit(convert_run.convert_tree(options, engine))
"""


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_a_second_signal_ends_a_slow_end(number: signal.Signals, tmp_path: Path) -> None:
    command = [sys.executable, "-c", SLOW_END, str(tmp_path), str(int(number))]
    run = subprocess.run(command, cwd=PIPELINE, capture_output=True, text=True)
    assert f"stopped by {number.name}" in run.stdout
    assert (run.returncode, run.stderr) == (-number, "")


def test_a_scheduler_that_goes_away_ends_the_run(tmp_path: Path) -> None:
    source, target = tmp_path / "source", tmp_path / "target"
    make_many(source)
    with run_cluster(tmp_path) as (address, scheduler):
        process = start_and_wait_for_results(
            Engine("dask"), source, target, "--scheduler", address, "--timeout", "20"
        )
        scheduler.kill()
        output, errors = process.communicate(timeout=60)
    assert process.returncode == 2, errors
    assert errors.splitlines()[-1] == "convert_tree_dask.py: the scheduler has gone away"
    assert output == f"{len(read_manifest(target))} converted, 0 failed, 0 unchanged\n"


DEADLY_MODULE = """
import importlib, os, signal, sys
sys.path.remove(os.path.dirname(__file__))
del sys.modules["korutex"]
real = importlib.import_module("korutex")
load = real.load

def load_or_die(path, **keywords):
    if path.endswith("deadly.ktx"):
        os.kill(os.getpid(), signal.SIGKILL)
    return load(path, **keywords)

real.load = load_or_die
"""

DEADLY_PROGRAM = """#!/bin/sh
# Dies, or lets its caller die, before a file of a certain name.
for file; do
    case $(readlink "$file") in
    */deadly.ktx) kill -9 $VICTIM ;;
    esac
done
exec "$REAL_PROGRAM" "$@"
"""


@pytest.mark.parametrize(
    "engine_name, victim", [("dask", ""), ("parallel", "$$"), ("parallel", "$PPID")]
)
def test_a_worker_that_dies_costs_one_file(
    engine_name: str, victim: str, tmp_path: Path
) -> None:
    source, target = tmp_path / "source", tmp_path / "target"
    source.mkdir()
    for name in ("a", "b", "c", "deadly", "e", "f", "g", "h", "i"):
        shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / f"{name}.ktx")
    engine = Engine(engine_name)
    if engine_name == "dask":
        (tmp_path / "module").mkdir()
        (tmp_path / "module" / "korutex.py").write_text(DEADLY_MODULE)
        path = f"{tmp_path / 'module'}:{os.environ['PYTHONPATH']}"
        run = engine.run(
            *(source, target, "--workers", "2"),
            *("--batch", "3", "--allowed-failures", "0"),
            environment={"PYTHONPATH": path},
        )
    else:
        program = tmp_path / "deadly"
        program.write_text(DEADLY_PROGRAM.replace("$VICTIM", victim))
        program.chmod(0o755)
        run = engine.run(
            *(source, target, "-j", "2", "--batch", "3"),
            *("--korutex", program),
            environment={"REAL_PROGRAM": os.path.abspath(shutil.which(PROGRAM) or PROGRAM)},
        )
    assert run.returncode == 1, run.stderr
    assert run.stdout == "8 converted, 1 failed, 0 unchanged\n"
    reason = read_manifest(target)["deadly.ktx"]["reason"]
    assert reason == ("its worker died by SIGKILL" if victim == "$$" else "its worker died")
    assert f"failed: deadly.ktx: {reason}\n" in run.stderr
    assert len(list(target.glob("*.png"))) == 8


TEARING_PARALLEL = """#!/bin/sh
# Lets go of half a line where a batch ends.
"$REAL_PARALLEL" "$@"
code=$?
printf '{"path": "a.ktx", "si'
exit $code
"""


def test_half_a_line_of_a_batch_costs_nothing(tmp_path: Path) -> None:
    source, target = tmp_path / "source", tmp_path / "target"
    source.mkdir()
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / "a.ktx")
    (tmp_path / "bin").mkdir()
    tearing = tmp_path / "bin" / "parallel"
    tearing.write_text(TEARING_PARALLEL)
    tearing.chmod(0o755)
    run = Engine("parallel").run(
        source,
        target,
        environment={
            "PATH": f"{tmp_path / 'bin'}:{os.environ['PATH']}",
            "REAL_PARALLEL": shutil.which("parallel") or "",
        },
    )
    assert (run.returncode, run.stdout) == (0, "1 converted, 0 failed, 0 unchanged\n"), run.stderr
