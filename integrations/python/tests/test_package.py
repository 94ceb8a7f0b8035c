"""The package itself: its version, its types, its installation."""

from __future__ import annotations

import importlib.util
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import PACKAGE_FOLDER, PROJECT, SAMPLES

import korutex


def test_the_version_is_the_library_s():
    header = (PROJECT / "include" / "korutex.h").read_text("utf-8")
    match = re.search(r'KORU_VERSION_STRING "(.*)"', header)
    assert match and korutex.__version__ == match[1]


def test_everything_public_is_described():
    for name in korutex.__all__:
        thing = getattr(korutex, name)
        assert isinstance(thing, int) or (thing.__doc__ and len(thing.__doc__) > 20), name
    assert sorted(korutex.__all__) == sorted(set(korutex.__all__))


@pytest.mark.skipif(shutil.which("mypy") is None, reason="mypy is not installed")
def test_types(tmp_path):
    shutil.copytree(PACKAGE_FOLDER, tmp_path / "korutex")
    shutil.copy(PACKAGE_FOLDER.parent / "pyproject.toml", tmp_path)
    # As a user of the package has it, too: what it returns is known to the type checker.
    (tmp_path / "user.py").write_text(
        "import korutex\n"
        "def area(path: str) -> int:\n"
        "    with korutex.load(path) as image:\n"
        "        korutex.write_ktx('x.ktx', image)\n"
        "        return image.width * image.height + len(image.pixels)\n"
    )
    for command in (["mypy"], ["mypy", "--strict", "user.py"], ["mypy", "--python-version=3.9"]):
        process = subprocess.run(
            [*command, "--cache-dir", tmp_path / "cache"],
            cwd=tmp_path,
            capture_output=True,
            text=True,
        )
        assert process.returncode == 0, process.stdout


@pytest.mark.skipif(
    any(importlib.util.find_spec(name) is None for name in ("ensurepip", "setuptools", "wheel")),
    reason="needs venv, setuptools and wheel",
)
def test_pip_installs_it(tmp_path):
    source = tmp_path / "source"
    shutil.copytree(PACKAGE_FOLDER, source / "korutex")
    shutil.copy(PACKAGE_FOLDER.parent / "pyproject.toml", source)
    environment = tmp_path / "venv"
    clean = {name: value for name, value in os.environ.items() if not name.startswith("PYTHON")}

    def run(*command):
        process = subprocess.run(command, env=clean, capture_output=True, text=True, cwd=tmp_path)
        assert process.returncode == 0, process.stdout + process.stderr
        return process.stdout

    run(sys.executable, "-m", "venv", "--system-site-packages", environment)
    python = environment / "bin" / "python"
    options = ["--no-index", "--no-build-isolation", "--no-cache-dir"]
    run(python, "-m", "pip", "--disable-pip-version-check", "install", *options, source)
    code = "import korutex, sys; print(korutex.__file__, korutex.load(sys.argv[1]).size)"
    output = run(python, "-c", code, SAMPLES[0])
    assert output.startswith(str(environment))
    assert output.endswith(f"{korutex.read_size(SAMPLES[0])}\n")
    (installed,) = environment.glob("lib/*/site-packages/korutex")
    assert (installed.parent / f"korutex-{korutex.__version__}.dist-info").is_dir()
    files = {path.name for path in PACKAGE_FOLDER.iterdir() if path.is_file()}
    assert {path.name for path in installed.iterdir() if path.is_file()} == files


@pytest.mark.skipif("KORUTEX_INSTALL_SCRIPT" not in os.environ, reason="nothing is installed")
def test_cmake_installs_it(tmp_path, run_python):
    """With a link that leads to the library beside it, also when the tree is moved."""
    first, moved = tmp_path / "first", tmp_path / "moved here"
    script = os.environ["KORUTEX_INSTALL_SCRIPT"]
    subprocess.run(
        [os.environ["KORUTEX_CMAKE"], f"-DCMAKE_INSTALL_PREFIX={first}", "-P", script],
        check=True,
        capture_output=True,
    )
    (package,) = first.rglob("korutex")
    files = {path.name for path in PACKAGE_FOLDER.iterdir() if path.is_file()}
    assert {path.name for path in package.iterdir()} == files | {"libkorutex_64.so"}
    # The library itself is installed by another script.
    library = Path(os.path.normpath(package / os.readlink(package / "libkorutex_64.so")))
    assert library.is_relative_to(first)
    library.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(os.environ["KORUTEX_LIBRARY"], library)
    first.rename(moved)
    folder = moved / package.parent.relative_to(first)
    code = "import korutex, sys; print(korutex.__file__, korutex.load(sys.argv[1]).size)"
    output = run_python(code, SAMPLES[0], KORUTEX_LIBRARY="", PYTHONPATH=str(folder)).stdout
    assert output == f"{folder}/korutex/__init__.py {korutex.read_size(SAMPLES[0])}\n"
