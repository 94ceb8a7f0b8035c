#!/usr/bin/env bash
# Builds and runs the benchmarks: bench.sh [GOOGLE BENCHMARK ARGUMENT...]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${bench_packages[@]}"

cd "$root"
cmake --preset bench > /dev/null
cmake --build --preset bench
for bench in astc_load_bench ktx_load_bench block_decode_bench; do
    "build/bench/$bench" "$@"
done
