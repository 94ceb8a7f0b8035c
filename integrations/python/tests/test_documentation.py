"""The examples of the documentation run, and print what it says."""

from __future__ import annotations

import re
from pathlib import Path

import pytest
from conftest import PROJECT
from PIL import Image, ImageChops, ImageStat

PAGE = PROJECT / "docs" / "integrations" / "python.md"
EXAMPLES = re.findall(
    r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```\n)?", PAGE.read_text("utf-8"), re.M | re.S
)


def run_in(folder: Path, run_python, code: str) -> str:
    (folder / "samples").symlink_to(PROJECT / "samples")
    start = "import os, sys\nos.chdir(sys.argv[1])\n"
    return run_python(start + code, folder).stdout


@pytest.mark.parametrize("code, expected", EXAMPLES, ids=range(len(EXAMPLES)))
def test_example(tmp_path, run_python, code, expected):
    output = run_in(tmp_path, run_python, code)
    if expected:
        assert output == expected


def test_there_are_examples():
    assert len(EXAMPLES) == 5 and sum(bool(expected) for _, expected in EXAMPLES) == 3


def test_the_picture_of_the_page(tmp_path, run_python):
    """Other releases of Pillow may have another font and filter, but no other picture."""
    (code,) = [code for code, _ in EXAMPLES if "python.png" in code]
    run_in(tmp_path, run_python, code)
    drawn = Image.open(tmp_path / "python.png").convert("RGB")
    shown = Image.open(PAGE.parent / "python.png").convert("RGB")
    assert drawn.size == shown.size
    assert max(ImageStat.Stat(ImageChops.difference(drawn, shown)).mean) < 3


def test_the_docstring_of_the_package(tmp_path, run_python):
    import korutex

    code = "\n".join(line[4:] for line in korutex.__doc__.splitlines() if line.startswith("    "))
    code = code.replace("texture.ktx2", "samples/testcard-bc3.ktx2")
    assert run_in(tmp_path, run_python, code) == "320 240 RGBA\n"
