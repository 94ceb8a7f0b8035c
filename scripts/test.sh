#!/usr/bin/env bash
# Builds and runs every test on both platforms, and checks layout and lint.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
. scripts/packages.sh

jobs=$(nproc)
started=$(date +%s)

step() { printf '\n== %s (%d s)\n' "$*" "$(($(date +%s) - started))"; }

# Runs a noisy command; its output is shown only if it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" > "$log" 2>&1; then
        cat "$log"
        rm -f "$log"
        echo "failed: $*"
        exit 1
    fi
    rm -f "$log"
}

# Sources that git knows or would take, so that a fresh tree and a working one agree.
list_sources() { git ls-files --cached --others --exclude-standard -- "$@"; }

# Sums what the test programs of a preset report: GoogleTest's files, and the host program's lines.
count_tests() {
    local preset=$1
    {
        sed -n 's/.*<testsuite name=.* tests="\([0-9]*\)" failures="\([0-9]*\)".* skipped="\([0-9]*\)".*/\1 \2 \3/p' \
            "build/$preset/counts/"*.xml
        sed -n 's/^.*\b\([0-9]\+\) passed, \([0-9]\+\) failed\(, \([0-9]\+\) skipped\)\?.*$/\1+\2+\4 \2 \4/p' \
            "build/$preset/Testing/Temporary/LastTest.log" |
            while read -r all failed skipped; do
                all=${all%+}
                echo "$((all)) $failed ${skipped:-0}"
            done
    } | awk '{ all += $1; failed += $2; skipped += $3 }
             END { printf "%d passed, %d failed, %d skipped\n", all - failed - skipped, failed, skipped }'
}

summary=()

# check PRESET NAME [CMAKE ARGUMENT...]: configure, build, test.
check() {
    local preset=$1 name=$2 counts_drive=
    shift 2
    [ "$preset" != windows ] || counts_drive=Z:  # as Wine shows the root
    quietly cmake --preset "$preset" -DKORUTEX_BUILD_TESTS=ON "$@"
    quietly cmake --build --preset "$preset"
    rm -rf "build/$preset/counts"
    GTEST_OUTPUT="xml:$counts_drive$root/build/$preset/counts/" ctest --preset "$preset" -j "$jobs"
    summary+=("$name: $(count_tests "$preset")")
}

# Wine's services outlive its programs for a while.
trap '[ ! -x build/windows/run_wine.sh ] || build/windows/run_wine.sh --stop' EXIT

step "Packages"
install_missing "${build_packages[@]}" "${test_packages[@]}" "${windows_packages[@]}" \
    "${python_packages[@]}" "${pipeline_packages[@]}"

step "Layout"
list_sources '*.cpp' '*.h' '*.c' | xargs clang-format-14 --dry-run -Werror
echo "clang-format: $(list_sources '*.cpp' '*.h' '*.c' | wc -l) files"

step "Linux, release"
check release "Linux, release"

step "Lint"
list_sources 'src/*.cpp' 'tools/*.cpp' | grep -v '_windows\.cpp$' |
    xargs -n 4 -P "$jobs" clang-tidy-14 --quiet -p build/release 2> /dev/null
echo "clang-tidy: no finding"

step "Linux, AddressSanitizer and UndefinedBehaviorSanitizer"
check asan "Linux, sanitizers"

step "Windows, under Wine"
quietly tests/wine/build_bridge.sh build/windows-codecs
check windows "Windows, Wine"

step "Done"
printf '%s\n' "${summary[@]}"
