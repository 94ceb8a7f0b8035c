"""The manifest, through kills at any byte."""

from __future__ import annotations

import json
import os
from pathlib import Path

import pytest

from manifest import Busy, Manifest, Result
from tree import Texture


def make_result(path: str, status: str = "ok", size: int | None = 5) -> Result:
    return Result(path, size, 1234567890123456789, path + ".png", status, "", 0.25)


def known(file: Path, paths: list[str]) -> list[str]:
    """Which of the paths the manifest says something about."""
    with Manifest(str(file)) as manifest:
        return [
            path
            for path in paths
            if manifest.find(Texture(path, 5, 1234567890123456789), str(file.parent)) is not None
        ]


def test_lines_are_json_that_others_can_read(tmp_path: Path) -> None:
    file = tmp_path / "m"
    with Manifest(str(file)) as manifest:
        manifest.append(make_result("a\n\"b\".ktx"))
        manifest.append(make_result(os.fsdecode(b"latin\xe9.ktx"), "failed"))
    lines = file.read_bytes().splitlines()
    assert json.loads(lines[0]) == {
        "path": 'a\n"b".ktx',
        "size": 5,
        "mtime_ns": 1234567890123456789,
        "result": 'a\n"b".ktx.png',
        "status": "ok",
        "reason": "",
        "seconds": 0.25,
    }
    assert os.fsencode(json.loads(lines[1])["path"]) == b"latin\xe9.ktx"
    assert len(lines) == 2


def test_cut_at_every_byte_it_keeps_what_was_whole_and_takes_more(tmp_path: Path) -> None:
    paths = ["a.ktx", "b.ktx"]
    lines = [make_result(path, "failed").to_line().encode() for path in paths]
    whole = b"".join(lines)
    file = tmp_path / "m"
    for length in range(len(whole) + 1):
        file.write_bytes(whole[:length])
        # A line is whole without its newline, too.
        expected = paths[: (length >= len(lines[0]) - 1) + (length >= len(whole) - 1)]
        with Manifest(str(file)) as manifest:
            manifest.append(make_result("c.ktx", "failed"))
        assert known(file, [*paths, "c.ktx"]) == [*expected, "c.ktx"], length


@pytest.mark.parametrize(
    "line", [b"null", b"[]", b"{}", b'"a"', b'{"path": 1}', b"\xff\xfe", b"", b"[" * 100_000]
)
def test_lines_that_are_no_results_are_passed_over(tmp_path: Path, line: bytes) -> None:
    file = tmp_path / "m"
    result = make_result("a.ktx", "failed").to_line().encode()
    file.write_bytes(line + b"\n" + result)
    assert known(file, ["a.ktx"]) == ["a.ktx"]


@pytest.mark.parametrize(
    "changes",
    [
        {"result": 5},
        {"result": None},
        {"result": []},
        {"reason": None},
        {"status": ["ok"]},
        {"path": None},
        {"path": "../a.ktx"},
        {"result": "../a.ktx.png"},
        {"result": "b/../../a.ktx.png"},
        {"result": "/a.ktx.png"},
        {"result": "a\0.png"},
        {"more": 1},
    ],
)
@pytest.mark.parametrize("status", ["ok", "failed"])
def test_fields_of_other_kinds_make_no_result(
    tmp_path: Path, changes: dict[str, object], status: str
) -> None:
    file = tmp_path / "m"
    fields = json.loads(make_result("a.ktx", status).to_line())
    file.write_text(json.dumps({**fields, **changes}) + "\n")
    assert known(file, ["a.ktx"]) == []
    with Manifest(str(file)) as manifest:
        assert list(manifest) == []


def test_a_result_of_another_input_does_not_count(tmp_path: Path) -> None:
    file = tmp_path / "m"
    (tmp_path / "b.ktx.png").touch()
    fields = json.loads(make_result("a.ktx").to_line())
    file.write_text(json.dumps({**fields, "result": "b.ktx.png"}) + "\n")
    assert known(file, ["a.ktx"]) == []


def test_the_last_line_counts(tmp_path: Path) -> None:
    with Manifest(str(tmp_path / "m")) as manifest:
        manifest.append(make_result("a.ktx"))
        manifest.append(make_result("a.ktx", "failed"))
    with Manifest(str(tmp_path / "m")) as manifest:
        result = manifest.find(Texture("a.ktx", 5, 1234567890123456789), str(tmp_path))
        assert result is not None and result.status == "failed"


def test_size_time_and_result_must_be_there(tmp_path: Path) -> None:
    with Manifest(str(tmp_path / "m")) as manifest:
        manifest.append(make_result("a.ktx"))
        same = Texture("a.ktx", 5, 1234567890123456789)
        assert manifest.find(same, str(tmp_path)) is None
        (tmp_path / "a.ktx.png").write_bytes(b"")
        assert manifest.find(same, str(tmp_path)) is not None
        assert manifest.find(Texture("a.ktx", 6, 1234567890123456789), str(tmp_path)) is None
        assert manifest.find(Texture("a.ktx", 5, 1234567890123456788), str(tmp_path)) is None
        assert manifest.find(Texture("b.ktx", 5, 1234567890123456789), str(tmp_path)) is None


def test_an_input_that_was_not_there_is_always_tried_again(tmp_path: Path) -> None:
    with Manifest(str(tmp_path / "m")) as manifest:
        manifest.append(make_result("a.ktx", "failed", size=None))
        assert manifest.find(Texture("a.ktx", None, None), str(tmp_path)) is None


def test_one_run_at_a_time(tmp_path: Path) -> None:
    with Manifest(str(tmp_path / "m")):
        with pytest.raises(Busy):
            Manifest(str(tmp_path / "m"))
    Manifest(str(tmp_path / "m")).__exit__(None, None, None)
