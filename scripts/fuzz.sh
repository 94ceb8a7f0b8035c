#!/usr/bin/env bash
# Fuzzes the library: fuzz.sh [SECONDS [TARGET...]]
# Builds the targets with Clang's libFuzzer and sanitizers, and runs each of them (or those named:
# "fuzz.sh 600 ktx_load pvr_load") for SECONDS, 60 by default, as many at a time as there are
# processors. Corpora grow in build/fuzz/corpus/TARGET from run to run; what was found lies in
# build/fuzz/findings/TARGET, with the log of the run beside it. Ends with a table, and with an
# error if there is any finding.
#
# A finding again:      build/fuzz/fuzz_TARGET FINDING
# In the tests:         copy it to tests/data/fuzz/TARGET/finding-WHAT
# A small corpus again: build/fuzz/fuzz_TARGET -merge=1 NEW_FOLDER build/fuzz/corpus/TARGET
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
. scripts/packages.sh

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: fuzz.sh [SECONDS [TARGET...]]" >&2; exit 2; }
shift $(($# > 0))

list_targets() { find fuzz/targets -name '*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort; }

if [ $# -gt 0 ]; then
    targets=("$@")
else
    mapfile -t targets < <(list_targets)
fi
for target in "${targets[@]}"; do
    if [ ! -f "fuzz/targets/$target.cpp" ]; then
        printf 'no target %s; there are:\n%s\n' "$target" "$(list_targets)" >&2
        exit 2
    fi
done

install_missing "${build_packages[@]}" "${fuzz_packages[@]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset fuzz && cmake --build --preset fuzz; } > "$log" 2>&1; then
    cat "$log"
    exit 1
fi

# Running out of memory is a failure of a load like any other.
export ASAN_OPTIONS=allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1
export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-14/bin/llvm-symbolizer

# run TARGET
run() {
    local target=$1
    local corpus=build/fuzz/corpus/$target findings=build/fuzz/findings/$target
    mkdir -p "$corpus" "$findings"
    # Tried again first: what was mended is a finding no longer.
    find "$findings" -type f -exec mv -t "$corpus" {} +
    local inputs=("$corpus" "build/fuzz/fuzz/seeds/$target")
    [ ! -d "tests/data/fuzz/$target" ] || inputs+=("tests/data/fuzz/$target")
    "build/fuzz/fuzz_$target" "${inputs[@]}" -max_total_time="$seconds" -max_len=4096 \
        -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=512 -print_final_stats=1 \
        -report_slow_units=2 -entropic_scale_per_exec_time=1 \
        -artifact_prefix="$findings/" > "$findings.log" 2>&1 || true
    # A busy machine is slow at times: what takes less than two seconds of the processor is no finding.
    local slow
    find "$findings" -name 'slow-unit-*' | while read -r slow; do
        (ulimit -t 2 && exec "build/fuzz/fuzz_$target" "$slow") > /dev/null 2>&1 && mv -t "$corpus" "$slow"
    done || true
}
export -f run
export seconds
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run {}'

# final_stat LOG NAME
final_stat() { sed -n "s/^stat::$2: *//p" "$1" | tail -1; }
# covered LOG NAME: of the last line that tells it.
covered() { grep -oE "\b$2: [0-9]+" "$1" | tail -1 | grep -oE '[0-9]+$' || echo 0; }

failed=0
line='%-18s %12s %9s %7s %9s %7s %9s\n'
printf "$line" target executions exec/s edges features corpus findings
for target in "${targets[@]}"; do
    findings=build/fuzz/findings/$target
    found=$(find "$findings" -type f | wc -l)
    executions=$(final_stat "$findings.log" number_of_executed_units)
    if [ -z "$executions" ] || [ "$found" -gt 0 ]; then
        failed=1
    fi
    printf "$line" "$target" "${executions:-died}" \
        "$(final_stat "$findings.log" average_exec_per_sec)" "$(covered "$findings.log" cov)" \
        "$(covered "$findings.log" ft)" "$(find "build/fuzz/corpus/$target" -type f | wc -l)" "$found"
done
if [ $failed -ne 0 ]; then
    echo "findings and logs: build/fuzz/findings" >&2
fi
exit $failed
