#!/usr/bin/env bash
# Draws test cards and compresses them to the textures in samples/. They are committed; run this
# again only to change them.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${test_packages[@]}"

cmake -S "$root" -B "$root/build/release" --preset release -DKORUTEX_BUILD_TESTS=OFF > /dev/null
cmake --build "$root/build/release" --target testcard > /dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# make NAME SIZE FOOTPRINT SEED
make_sample() {
    "$root/build/release/testcard" "$2" "$work/card.png" --seed "$4" > /dev/null
    astcenc -cl "$work/card.png" "$root/samples/$1.astc" "$3" -thorough -silent
    echo "samples/$1.astc"
}

mkdir -p "$root/samples"
make_sample testcard-4x4 256x192 4x4 1
make_sample testcard-5x4-odd 201x151 5x4 2
make_sample testcard-6x6 320x240 6x6 1
make_sample testcard-8x8 320x240 8x8 3
make_sample testcard-12x12 384x288 12x12 1
make_sample testcard-3x3x3 128x96 3x3x3 4
