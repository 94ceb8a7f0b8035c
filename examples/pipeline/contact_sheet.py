#!/usr/bin/env python3
"""Puts the pictures of a converted tree, small, on one sheet: what a run has made, at a glance."""

from __future__ import annotations

import argparse
import os

from PIL import Image, ImageDraw

from convert_run import MANIFEST
from manifest import Manifest
from tree import printable

CELL, MARGIN, COLUMNS = (160, 120), 8, 5


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("target", metavar="TARGET", help="of a conversion")
    parser.add_argument("sheet", metavar="SHEET", help="the picture to write")
    options = parser.parse_args()

    with Manifest(os.path.join(options.target, MANIFEST)) as manifest:
        shown = sorted(result.result for result in manifest if result.status == "ok")
    rows = -(-len(shown) // COLUMNS)
    step_x, step_y = CELL[0] + MARGIN, CELL[1] + 14 + MARGIN
    sheet = Image.new("RGB", (COLUMNS * step_x + MARGIN, rows * step_y + MARGIN), "white")
    draw = ImageDraw.Draw(sheet)
    for number, name in enumerate(shown):
        x = MARGIN + number % COLUMNS * step_x
        y = MARGIN + number // COLUMNS * step_y
        with Image.open(os.path.join(options.target, name)) as picture:
            picture.thumbnail(CELL)
            sheet.paste(picture, (x, y), picture if picture.mode == "RGBA" else None)
        draw.text((x, y + CELL[1] + 1), printable(name), fill="black")
    sheet.quantize(128).save(options.sheet, optimize=True)


if __name__ == "__main__":
    main()
