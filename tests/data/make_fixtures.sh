#!/usr/bin/env bash
# Makes ".astc" files and what the astcenc program decodes them to: make_fixtures.sh FOLDER TESTCARD
# FOOTPRINT_WIDTHxHEIGHT.astc has its picture in FOOTPRINT_WIDTHxHEIGHT.png.
set -euo pipefail

folder=$1
testcard=$2

rm -rf "$folder"
mkdir -p "$folder/cards"
flat="4x4 5x4 5x5 6x5 6x6 8x5 8x6 8x8 10x5 10x6 10x8 10x10 12x10 12x12"
volume="3x3x3 4x3x3 4x4x3 4x4x4 5x4x4 5x5x4 5x5x5 6x5x5 6x6x5 6x6x6"

# make SIZE FOOTPRINT...
make_textures() {
    local size=$1 card=$folder/cards/$1.png footprint texture
    shift
    "$testcard" "$size" "$card" > /dev/null
    for footprint in "$@"; do
        texture=$folder/${footprint}_$size
        astcenc -cl "$card" "$texture.astc" "$footprint" -fast -silent
        astcenc -dl "$texture.astc" "$texture.png" -silent
    done
}

# Every footprint once, at a size that is a multiple of none; the common ones at more sizes.
# shellcheck disable=SC2086
make_textures 37x23 $flat $volume
for size in 64x48 13x1 1x1 151x98; do
    make_textures "$size" 4x4 5x4 6x6 8x8 10x10 12x12 3x3x3
done
