#!/usr/bin/env bash
# Draws test cards and compresses them to the textures in samples/. They are committed; run this
# again only to change them.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${test_packages[@]}"

cmake -S "$root" -B "$root/build/release" --preset release -DKORUTEX_BUILD_TESTS=OFF > /dev/null
cmake --build "$root/build/release" --target testcard ktxpack > /dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# draw_card SIZE SEED
draw_card() { "$root/build/release/testcard" "$1" "$work/card.png" --seed "$2" > /dev/null; }

# make_astc FILE SIZE SEED FOOTPRINT: the compressor writes .astc and .ktx files.
make_astc() {
    draw_card "$2" "$3"
    astcenc -cl "$work/card.png" "$root/samples/$1" "$4" -thorough -silent
    echo "samples/$1"
}

# make_ktx FILE SIZE SEED KTXPACK-OPTION...
make_ktx() {
    draw_card "$2" "$3"
    "$root/build/release/ktxpack" "$work/card.png" "$root/samples/$1" "${@:4}"
    echo "samples/$1"
}

# make_astc_in_ktx2 FILE SIZE SEED FOOTPRINT: the compressor itself cannot write .ktx2 files.
make_astc_in_ktx2() {
    draw_card "$2" "$3"
    astcenc -cl "$work/card.png" "$work/card.astc" "$4" -thorough -silent
    "$root/build/release/ktxpack" "$work/card.astc" "$root/samples/$1"
    echo "samples/$1"
}

mkdir -p "$root/samples"
make_astc testcard-4x4.astc 256x192 1 4x4
make_astc testcard-5x4-odd.astc 201x151 2 5x4
make_astc testcard-6x6.astc 320x240 1 6x6
make_astc testcard-8x8.astc 320x240 3 8x8
make_astc testcard-12x12.astc 384x288 1 12x12
make_astc testcard-3x3x3.astc 128x96 4 3x3x3

make_ktx testcard-bc1.ktx 320x240 5 --format bc1
make_ktx testcard-bc3.ktx2 320x240 6 --format bc3
make_ktx testcard-etc1.ktx 320x240 7 --format etc1
make_ktx testcard-etc2-a1.ktx 320x240 8 --format etc2-rgb-a1
make_ktx testcard-etc2-rgba.ktx2 320x240 9 --format etc2-rgba
make_ktx testcard-rgb8.ktx 161x121 10 --format rgb8
make_ktx testcard-rgba8-mips.ktx2 144x90 11 --format rgba8 --mipmaps
make_astc testcard-astc-8x8.ktx 320x240 12 8x8
make_astc_in_ktx2 testcard-astc-5x5.ktx2 320x240 13 5x5
