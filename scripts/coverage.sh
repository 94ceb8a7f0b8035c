#!/usr/bin/env bash
# Runs the tests on an instrumented build and tells which lines and branches of src/ they reach. The
# annotated sources go to build/coverage/report. Fails below 99 % of lines or 95 % of branches.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
. scripts/packages.sh
install_missing "${build_packages[@]}" "${test_packages[@]}" "${coverage_packages[@]}"

cmake --preset coverage > /dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
# Left out: valgrind, which takes minutes on unoptimised code and reaches nothing new; packages; and the
# program from outside, whose tests limit files, which then cut the counters short.
ctest --preset coverage -j "$(nproc)" -E '^(memcheck_|package_|host_program)'

# A file that is compiled for library, program and tests counts once, with the sum of all runs. Edges
# that only exceptions take are the compiler's: they stand at every call and decide nothing in the code.
mkdir -p build/coverage/report
gcovr --root "$root" --filter src/ --object-directory build/coverage \
    --exclude-throw-branches --exclude-unreachable-branches \
    --json build/coverage/report/coverage.json build/coverage
report() { gcovr --root "$root" --add-tracefile build/coverage/report/coverage.json "$@"; }
report --branches
report --html-details build/coverage/report/index.html --txt --print-summary --fail-under-line 99 --fail-under-branch 95
