#!/usr/bin/env python3
"""Makes a tree of small textures in many formats, to measure the engines with.

Needs the programs testcard and ktxpack of a build folder, and astcenc.
"""

from __future__ import annotations

import argparse
import os
import shutil
import subprocess
import tempfile

KTX_FORMATS = (
    *("rgba8", "rgb8", "srgb8-alpha8", "bc1", "bc2", "bc3"),
    *("etc1", "etc2-rgb", "etc2-rgb-a1", "etc2-rgba"),
)
ASTC_FOOTPRINTS = ("4x4", "5x5", "6x6", "8x8", "12x12")


def make_textures(folder: str, tools: str, size: str, seed: int) -> list[str]:
    """One test card in every format."""

    def run(program: str, *arguments: str) -> None:
        subprocess.run([program, *arguments], check=True, stdout=subprocess.DEVNULL)

    def name(ending: str) -> str:
        textures.append(os.path.join(folder, f"{seed}-{ending}"))
        return textures[-1]

    textures: list[str] = []
    card = os.path.join(folder, f"{seed}.png")
    run(os.path.join(tools, "testcard"), size, card, "--seed", str(seed))
    for format_name in KTX_FORMATS:
        # KTX 2.0 has no number for ETC1.
        for ending in ("ktx", "ktx2") if format_name != "etc1" else ("ktx",):
            texture = name(f"{format_name}.{ending}")
            run(os.path.join(tools, "ktxpack"), card, texture, "--format", format_name)
    for footprint in ASTC_FOOTPRINTS:
        run("astcenc", "-cl", card, name(f"{footprint}.astc"), footprint, "-fast", "-silent")
    return textures


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("target", metavar="TARGET", help="a new folder")
    parser.add_argument("--tools", default="build/release", metavar="FOLDER")
    parser.add_argument("--count", type=int, default=2000, metavar="N", help="files (2000)")
    parser.add_argument("--size", default="64x64", metavar="WxH", help="of each (64x64)")
    parser.add_argument("--seeds", type=int, default=8, metavar="N", help="different pictures (8)")
    options = parser.parse_args()

    with tempfile.TemporaryDirectory() as work:
        textures = []
        for seed in range(1, options.seeds + 1):
            textures += make_textures(work, options.tools, options.size, seed)
        for number in range(options.count):
            texture = textures[number % len(textures)]
            folder = os.path.join(options.target, f"{number // 100:03}")
            os.makedirs(folder, exist_ok=True)
            shutil.copy(texture, os.path.join(folder, f"{number:06}-{os.path.basename(texture)}"))


if __name__ == "__main__":
    main()
