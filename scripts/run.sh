#!/usr/bin/env bash
# Builds korutex and converts textures to PNG: run.sh [FILE...]
# Without files: the bundled samples. The pictures go to build/pictures.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"

install_missing "${build_packages[@]}"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
build() {
    cmake -S "$root" --preset release -DKORUTEX_BUILD_TESTS=OFF
    cmake --build "$root/build/release" --target korutex_program
}
echo "Building korutex ..." >&2
if ! (cd "$root" && build) > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

if [ $# -eq 0 ]; then
    set -- "$root"/samples/*.astc "$root"/samples/*.ktx "$root"/samples/*.ktx2
fi
"$root/build/release/korutex" convert "$@" -o "$root/build/pictures"
