#!/usr/bin/env bash
# Builds and runs the benchmarks: bench.sh [GOOGLE BENCHMARK ARGUMENT...]
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"
install_missing "${build_packages[@]}" "${bench_packages[@]}"

cd "$root"
cmake --preset bench > /dev/null
cmake --build --preset bench
build/bench/astc_load_bench "$@"
