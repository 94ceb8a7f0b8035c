#!/usr/bin/env bash
# Makes ".astc" files and what the astcenc program decodes them to: make_fixtures.sh FOLDER TESTCARD
# FOOTPRINT_WIDTHxHEIGHT.astc has its picture in FOOTPRINT_WIDTHxHEIGHT.png.
set -euo pipefail

folder=$1
testcard=$2

rm -rf "$folder"
mkdir -p "$folder/cards"
for size in 64x48 37x23 13x1 1x1 151x98; do
    card=$folder/cards/$size.png
    "$testcard" "$size" "$card" > /dev/null
    for footprint in 4x4 5x4 6x6 8x8 10x8 10x10 12x12 3x3x3 4x4x4; do
        texture=$folder/${footprint}_$size
        astcenc -cl "$card" "$texture.astc" "$footprint" -fast -silent
        astcenc -dl "$texture.astc" "$texture.png" -silent
    done
done
