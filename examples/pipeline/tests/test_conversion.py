"""Whole runs of both engines over a tree of good, bad and oddly named files."""

from __future__ import annotations

import fcntl
import json
import os
import shutil
import subprocess
from pathlib import Path

import pytest
from conftest import PROGRAM, SAMPLES, Engine, write_pvr
from PIL import Image

#: Mode, size and pixels.
Picture = tuple[str, tuple[int, int], bytes]

ODD_NAMES = [
    "blank and 'quote' and \"quotes\".ktx",
    "new\nline\\.ktx",
    ".ktx",
    "-o.ktx",
    "--help.ktx",
    "$HOME `x` {} {#} *.ktx",
    os.fsdecode(b"latin\xe9.KTX"),
    "\u00fc\u4e16.Ktx",
]
BAD = {
    "bad/cut.ktx": "decode",
    "bad/empty.astc": "empty",
    "bad/link to nowhere.pvr": "no such file",
    "bad/text.ktx2": "is not an ASTC, KTX",
    "bad/claims.ktx2": "decode",
}


def make_tree(source: Path) -> None:
    """Real ones in folders, real ones with odd names, two that differ by the ending, bad ones."""
    (source / "a folder" / "deeper").mkdir(parents=True)
    (source / "bad").mkdir()
    for number, sample in enumerate(sorted(SAMPLES.iterdir())):
        shutil.copy(sample, source / ("", "a folder", "a folder/deeper")[number % 3])
    for name in ODD_NAMES:
        shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / name)
    shutil.copy(SAMPLES / "testcard-etc1.ktx", source / "same.ktx")
    write_pvr(source / "same.pvr", 3, 2, bytes(range(24)))
    shutil.copy(SAMPLES / "testcard-6x6.astc", source / "misnamed.ktx")
    (source / "linked.ktx").symlink_to("same.ktx")

    whole = (SAMPLES / "testcard-bc1.ktx").read_bytes()
    (source / "bad/cut.ktx").write_bytes(whole[: len(whole) // 2])
    (source / "bad/empty.astc").touch()
    (source / "bad/link to nowhere.pvr").symlink_to("nowhere")
    (source / "bad/text.ktx2").write_text("These are no pixels.")
    size = (32767).to_bytes(4, "little")
    whole = (SAMPLES / "testcard-bc3.ktx2").read_bytes()
    (source / "bad/claims.ktx2").write_bytes(whole[:20] + size + size + whole[28:64])

    (source / "loop").symlink_to(".")
    (source / "not a texture.txt").write_text("left alone")
    os.mkfifo(source / "pipe.ktx")


def list_good(source: Path) -> list[str]:
    paths = [p.relative_to(source) for p in source.rglob("*") if "bad" not in p.parts]
    endings = (".astc", ".ktx", ".ktx2", ".pvr")
    return sorted(
        str(p)
        for p in paths
        if p.name.lower().endswith(endings) and (source / p).is_file() and "loop" not in p.parts
    )


def list_files(folder: Path) -> dict[str, tuple[int, int]]:
    """Each file with its inode and time, which show a rewrite."""
    return {
        str(path.relative_to(folder)): (path.stat().st_ino, path.stat().st_mtime_ns)
        for path in folder.rglob("*")
        if path.is_file()
    }


def read_manifest(target: Path) -> dict[str, dict[str, object]]:
    """The last line about each path; read without the code under test."""
    lines = (target / "manifest.jsonl").read_bytes().splitlines()
    return {entry["path"]: entry for entry in map(json.loads, lines)}


def read_picture(path: str | Path) -> Picture:
    with Image.open(path) as picture:
        return picture.mode, picture.size, picture.tobytes()


@pytest.fixture(scope="session")
def expected(tmp_path_factory: pytest.TempPathFactory) -> dict[str, Picture]:
    """What `korutex convert` makes of each good file, one process for each."""
    folder = tmp_path_factory.mktemp("expected")
    make_tree(folder / "source")
    pictures = {}
    for path in list_good(folder / "source"):
        subprocess.run(
            [PROGRAM, "convert", folder / "source" / path, "-o", folder / "picture.png"],
            check=True,
            stdout=subprocess.DEVNULL,
        )
        pictures[path] = read_picture(folder / "picture.png")
    assert len(pictures) == 15 + len(ODD_NAMES) + 4
    return pictures


def check_pictures(
    target: Path, expected: dict[str, Picture]
) -> None:
    made = set(list_files(target)) - {"manifest.jsonl"}
    assert made == {path + ".png" for path in expected}
    for path, picture in expected.items():
        assert read_picture(target / (path + ".png")) == picture, path


def test_a_tree_is_converted_and_then_left_alone(
    engine: Engine,
    tmp_path: Path,
    expected: dict[str, Picture],
) -> None:
    source, target = tmp_path / "the source", tmp_path / "the target"
    make_tree(source)
    run = engine.run(source, target, *engine.two_workers, "--batch", "4")

    assert run.returncode == 1, run.stderr
    assert run.stdout == f"{len(expected)} converted, {len(BAD)} failed, 0 unchanged\n"
    told = dict(line.split(": ", 2)[1:] for line in run.stderr.splitlines())
    assert sorted(told) == sorted(BAD)
    for path, words in BAD.items():
        assert words in told[path].lower().replace("astc, ktx", "ASTC, KTX")
    check_pictures(target, expected)
    assert not (target / ".korutex-part").exists()

    manifest = read_manifest(target)
    assert sorted(manifest) == sorted([*expected, *BAD])
    for path, entry in manifest.items():
        assert entry["result"] == path + ".png"
        assert entry["status"] == ("failed" if path in BAD else "ok")
        assert entry["reason"] == told.get(path, "")
        assert isinstance(entry["seconds"], float)
        if "nowhere" not in path:
            status = (source / path).stat()
            assert (entry["size"], entry["mtime_ns"]) == (status.st_size, status.st_mtime_ns)

    # The other engine continues where this one ended: nowhere but at the link, which has no time.
    before = list_files(target)
    other = Engine({"dask": "parallel", "parallel": "dask"}[engine.name])
    (source / "bad/link to nowhere.pvr").unlink()
    again = other.run(source, target, *other.two_workers)
    assert again.returncode == 1
    assert again.stdout == f"0 converted, {len(BAD) - 1} failed, {len(expected)} unchanged\n"
    assert list_files(target) == before


def test_what_changed_is_done_again(quick_engine: Engine, tmp_path: Path) -> None:
    source, target = tmp_path / "source", tmp_path / "target"
    source.mkdir()
    for name in ("kept.ktx", "touched.ktx", "torn.ktx", "without picture.ktx", "other size.ktx"):
        shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / name)
    for name in ("mended.ktx", "still bad.ktx"):
        (source / name).write_text("no texture")
    run = quick_engine.run(source, target, *quick_engine.fast)
    assert run.stdout == "5 converted, 2 failed, 0 unchanged\n", run.stderr
    before = list_files(target)

    os.utime(source / "touched.ktx", ns=(0, 12345))
    (target / "without picture.ktx.png").unlink()
    write_pvr(source / "other size.ktx", 1, 1, b"\1\2\3\4")
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / "mended.ktx")
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / "new.ktx")
    lines = (target / "manifest.jsonl").read_bytes().splitlines(keepends=True)
    lines.sort(key=lambda line: b"torn.ktx" in line)
    (target / "manifest.jsonl").write_bytes(b"".join(lines)[:-40])
    (target / ".korutex-part" / "left").mkdir(parents=True)

    run = quick_engine.run(source, target, *quick_engine.fast)
    assert run.returncode == 1
    assert run.stdout == "6 converted, 1 failed, 1 unchanged\n"
    assert run.stderr.startswith("failed: still bad.ktx: is not an ASTC, KTX")
    after = list_files(target)
    assert after["kept.ktx.png"] == before["kept.ktx.png"]
    for name in ("touched", "torn", "other size"):
        assert after[f"{name}.ktx.png"] != before[f"{name}.ktx.png"], name
    assert read_picture(target / "other size.ktx.png") == ("RGBA", (1, 1), b"\1\2\3\4")
    assert {"new.ktx.png", "mended.ktx.png", "without picture.ktx.png"} < set(after)
    assert not (target / ".korutex-part").exists()

    (source / "still bad.ktx").unlink()
    run = quick_engine.run(source, target, *quick_engine.fast)
    assert (run.returncode, run.stdout) == (0, "0 converted, 0 failed, 7 unchanged\n")


def test_failed_files_are_tried_again_on_demand(quick_engine: Engine, tmp_path: Path) -> None:
    """What stood in the way here is not the input: a folder has the picture's name."""
    source, target = tmp_path / "source", tmp_path / "target"
    source.mkdir()
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", source / "a.ktx")
    (target / "a.ktx.png").mkdir(parents=True)
    run = quick_engine.run(source, target, *quick_engine.fast)
    assert run.returncode == 1
    assert run.stderr == "failed: a.ktx: cannot be written: Is a directory\n"
    (target / "a.ktx.png").rmdir()
    assert quick_engine.run(source, target, *quick_engine.fast).returncode == 1
    assert not (target / "a.ktx.png").exists()
    run = quick_engine.run(source, target, *quick_engine.fast, "--retry")
    assert (run.returncode, run.stdout) == (0, "1 converted, 0 failed, 0 unchanged\n")
    assert (target / "a.ktx.png").is_file()


def test_source_and_target_may_be_one_inside_the_other(tmp_path: Path) -> None:
    """With the engine that puts links to textures there."""
    engine = Engine("parallel")
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", tmp_path / "a.ktx")
    for source, target in ((".", "."), (".", "out")):
        for counts in ("1 converted, 0 failed, 0 unchanged", "0 converted, 0 failed, 1 unchanged"):
            run = engine.run(tmp_path / source, tmp_path / target)
            assert (run.returncode, run.stdout) == (0, counts + "\n")
    made = sorted(str(path.relative_to(tmp_path)) for path in tmp_path.rglob("*.png"))
    assert made == ["a.ktx.png", "out/a.ktx.png"]


def test_what_cannot_run_says_so(tmp_path: Path) -> None:
    engine = Engine("parallel")
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", tmp_path / "a.ktx")
    run = engine.run(tmp_path / "missing", tmp_path / "out")
    assert run.returncode == 2
    assert "missing: is not a folder" in run.stderr
    run = engine.run(tmp_path, tmp_path / "a.ktx" / "out")
    assert run.returncode == 2
    assert "cannot be written: Not a directory" in run.stderr

    (tmp_path / "other" / "manifest.jsonl").mkdir(parents=True)
    run = engine.run(tmp_path, tmp_path / "other")
    assert run.returncode == 2
    assert "manifest.jsonl: cannot be opened: Is a directory" in run.stderr

    (tmp_path / "out").mkdir()
    with open(tmp_path / "out" / "manifest.jsonl", "w") as manifest:
        fcntl.flock(manifest, fcntl.LOCK_EX)
        run = engine.run(tmp_path, tmp_path / "out")
    assert run.returncode == 2
    assert "another run is at work in this target" in run.stderr


def test_no_scheduler_and_no_library(tmp_path: Path) -> None:
    shutil.copy(SAMPLES / "testcard-rgb8.ktx", tmp_path / "a.ktx")
    run = Engine("dask").run(
        tmp_path, tmp_path / "out", "--scheduler", "tcp://127.0.0.1:9", "--timeout", "0.2"
    )
    assert run.returncode == 2
    assert "no workers at tcp://127.0.0.1:9" in run.stderr

    run = Engine("dask").run(
        tmp_path,
        tmp_path / "out",
        *("--workers", "1"),
        environment={"KORUTEX_LIBRARY": str(tmp_path / "no library.so")},
    )
    assert run.returncode == 2
    assert "a worker lacks a package" in run.stderr
    assert (tmp_path / "out" / "manifest.jsonl").read_bytes() == b""
