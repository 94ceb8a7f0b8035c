#!/usr/bin/env bash
# Builds korutex and packs it: package.sh. The Debian package lies in build/package/packages then.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
. scripts/packages.sh

install_missing "${build_packages[@]}" "${gdk_pixbuf_packages[@]}" "${package_packages[@]}"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
pack() {
    cmake --preset package
    cmake --build --preset package
    rm -rf build/package/packages
    cpack --config build/package/CPackConfig.cmake
}
echo "Building korutex ..." >&2
if ! pack > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
ls "$root"/build/package/packages/*.deb
