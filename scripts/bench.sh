#!/usr/bin/env bash
# Builds the benchmarks and prints their tables: bench.sh [ARGUMENT...]
# Arguments go to build/bench/korutex_bench; --help lists them. The first build also draws and
# compresses the pictures, which takes a minute or two. docs/PERFORMANCE.md explains the tables.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${bench_packages[@]}"

cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building the benchmarks ..." >&2
if ! { cmake --preset bench && cmake --build --preset bench --target korutex_bench; } > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
build/bench/korutex_bench "$@"
