"""The walk."""

from __future__ import annotations

import os
from pathlib import Path

from tree import PART_FOLDER, Texture, find_textures, printable, result_path


def walk(source: Path, target: Path, follow_links: bool = False) -> list[str]:
    return [texture.path for texture in find_textures(str(source), str(target), follow_links)]


def make(*files: Path) -> None:
    for file in files:
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(b"12345")


def test_takes_the_four_endings_in_any_case(tmp_path: Path) -> None:
    names = ["a.astc", "b.KTX", "c.Ktx2", "d.pvr", "e.png", "f.ktx.txt", "g", "ktx", "h.ktx3"]
    make(*(tmp_path / name for name in names))
    assert walk(tmp_path, tmp_path / "out") == names[:4]


def test_tells_size_and_time_in_nanoseconds(tmp_path: Path) -> None:
    make(tmp_path / "a.ktx")
    os.utime(tmp_path / "a.ktx", ns=(1, 1234567890123456789))
    assert list(find_textures(str(tmp_path), "")) == [Texture("a.ktx", 5, 1234567890123456789)]


def test_a_target_inside_the_source_is_left_out(tmp_path: Path) -> None:
    make(tmp_path / "a.ktx", tmp_path / "out" / "b.ktx", tmp_path / "sub" / "out" / "c.ktx")
    assert walk(tmp_path, tmp_path / "out") == ["a.ktx", "sub/out/c.ktx"]
    (tmp_path / "link").symlink_to("out")
    assert walk(tmp_path, tmp_path / "link", follow_links=True) == ["a.ktx", "sub/out/c.ktx"]


def test_a_source_that_is_the_target_or_inside_it_is_walked(tmp_path: Path) -> None:
    make(tmp_path / "sub" / "a.ktx", tmp_path / "sub" / PART_FOLDER / "0.ktx")
    assert walk(tmp_path, tmp_path) == ["sub/a.ktx"]
    assert walk(tmp_path / "sub", tmp_path) == ["a.ktx"]
    assert walk(tmp_path / "sub", tmp_path / "sub") == ["a.ktx"]


def test_links_to_folders_are_walked_on_demand_and_end(tmp_path: Path) -> None:
    make(tmp_path / "a" / "x.ktx", tmp_path / "elsewhere" / "y.ktx")
    (tmp_path / "tree").mkdir()
    (tmp_path / "tree" / "one").symlink_to("../a")
    (tmp_path / "tree" / "two").symlink_to("../a")
    (tmp_path / "a" / "up").symlink_to("../tree")
    (tmp_path / "a" / "self").symlink_to("self")
    assert walk(tmp_path / "tree", tmp_path / "out") == []
    assert walk(tmp_path / "tree", tmp_path / "out", follow_links=True) == [
        "one/x.ktx",
        "two/x.ktx",
    ]


def test_links_to_files_count_and_pipes_do_not(tmp_path: Path) -> None:
    make(tmp_path / "a.ktx")
    (tmp_path / "b.ktx").symlink_to("a.ktx")
    (tmp_path / "c.ktx").symlink_to("nowhere")
    os.mkfifo(tmp_path / "d.ktx")
    (tmp_path / "e.ktx").mkdir()
    found = list(find_textures(str(tmp_path), ""))
    assert [(texture.path, texture.size) for texture in found] == [
        ("a.ktx", 5),
        ("b.ktx", 5),
        ("c.ktx", None),
    ]


def test_a_folder_that_vanishes_is_told(tmp_path: Path) -> None:
    make(tmp_path / "a.ktx", tmp_path / "sub" / "b.ktx")
    told: list[str] = []
    found = []
    for texture in find_textures(
        str(tmp_path), "", on_error=lambda path, error: told.append(f"{path}: {error.strerror}")
    ):
        found.append(texture.path)
        (tmp_path / "sub" / "b.ktx").unlink(missing_ok=True)
        (tmp_path / "sub").rename(tmp_path / "gone")
    assert found == ["a.ktx"]
    assert told == ["sub: No such file or directory"]


def test_the_ending_stays_in_the_result() -> None:
    assert result_path("sub/a.ktx") == "sub/a.ktx.png"


def test_odd_names_print_on_one_line() -> None:
    assert printable("a b/ü.ktx") == "a b/ü.ktx"
    assert printable("new\nline\x1b[31m") == r"new\nline\x1b[31m"
    assert printable(os.fsdecode(b"latin\xe9\\")) == r"latin\udce9\\"
