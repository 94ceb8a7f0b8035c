#!/usr/bin/env bash
# Builds and runs every test on both platforms, and checks layout and lint. What lint finds is shown
# at the end: it runs all along, on whatever the rest leaves of the processors.
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

# Sums what the test programs of a preset report in CTest's log: GoogleTest's lines, which Windows
# programs end with a carriage return, and those that say "N passed, M failed, K skipped".
count_tests() {
    tr -d '\r' < "build/$1/Testing/Temporary/LastTest.log" | awk '
        match($0, /[0-9]+ passed, [0-9]+ failed(, [0-9]+ skipped)?/) {
            split(substr($0, RSTART, RLENGTH), word, " ")
            passed += word[1]; failed += word[3]; skipped += word[5]
        }
        /^\[  PASSED  \] [0-9]+ tests?\./ { passed += $4 }
        /^\[  FAILED  \] [0-9]+ tests?(\.|, listed below:)$/ { failed += $4 }
        /^\[  SKIPPED \] [0-9]+ tests?(\.|, listed below:)$/ { skipped += $4 }
        END { printf "%d passed, %d failed, %d skipped\n", passed, failed, skipped }'
}

summary=()

# check PRESET NAME: build, test.
check() {
    local preset=$1 name=$2
    quietly cmake --preset "$preset" -DKORUTEX_BUILD_TESTS=ON
    quietly cmake --build --preset "$preset"
    ctest --preset "$preset" -j "$jobs"
    summary+=("$name: $(count_tests "$preset")")
}

lint_folder=$(mktemp -d)
lint_job=

# Lint needs the compile commands of the release preset, nothing that is built. The files that take
# longest come first, so that no processor waits for the last one.
start_lint() {
    list_sources 'src/*.cpp' 'tools/*.cpp' 'integrations/*.cpp' |
        grep -v -e '_windows\.cpp$' -e '^integrations/wic/' -e '/tests/' > "$lint_folder/sources"
    local slow='command_line|_main\.cpp|_json\.cpp|_(avx2|sse41)\.cpp'
    grep -E "$slow" "$lint_folder/sources" > "$lint_folder/sorted"
    grep -vE "$slow" "$lint_folder/sources" >> "$lint_folder/sorted"
    nice -n 19 xargs -a "$lint_folder/sorted" -n 1 -P "$jobs" clang-tidy-14 --quiet -p build/release \
        > "$lint_folder/findings" 2> /dev/null &
    lint_job=$!
}

finish_lint() {
    local result=0
    wait "$lint_job" || result=$?
    lint_job=
    cat "$lint_folder/findings"
    if [ "$result" -ne 0 ]; then
        echo "failed: clang-tidy"
        exit 1
    fi
    echo "clang-tidy: no finding in $(wc -l < "$lint_folder/sorted") files"
}

clean_up() {
    [ -z "$lint_job" ] || kill "$lint_job" 2> /dev/null || true
    rm -rf "$lint_folder"
    # Wine's services outlive its programs for a while.
    [ ! -x build/windows/run_wine.sh ] || build/windows/run_wine.sh --stop
}
trap clean_up EXIT

step "Packages"
install_missing "${build_packages[@]}" "${test_packages[@]}" "${windows_packages[@]}" \
    "${gdk_pixbuf_packages[@]}" "${python_packages[@]}" "${pipeline_packages[@]}" \
    "${package_packages[@]}" "${package_test_packages[@]}"

step "Layout"
list_sources '*.cpp' '*.h' '*.c' | xargs clang-format-14 --dry-run -Werror
echo "clang-format: $(list_sources '*.cpp' '*.h' '*.c' | wc -l) files"

step "Linux, release; lint in the background"
# The prefix of packages, one of which is made of this build.
quietly cmake --preset release -DKORUTEX_BUILD_TESTS=ON -DCMAKE_INSTALL_PREFIX=/usr
start_lint
check release "Linux, release"

step "Linux, AddressSanitizer and UndefinedBehaviorSanitizer"
check asan "Linux, sanitizers"

step "Windows, under Wine"
quietly tests/wine/build_bridge.sh build/windows-codecs
check windows "Windows, Wine"

step "Lint"
finish_lint

step "Done"
printf '%s\n' "${summary[@]}"
