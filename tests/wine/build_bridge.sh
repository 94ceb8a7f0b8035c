#!/bin/sh
# Usage: build_bridge.sh PREFIX
# Makes PREFIX hold astcenc and LZ4 for the Windows build under test: headers, import libraries,
# CMake packages, and DLLs that lead to this machine's own codecs under Wine.
set -eu

if [ $# -ne 1 ]; then
    sed -n '2,4s/^# //p' "$0" >&2
    exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
prefix=$(cd "$1" && pwd)

# A changed source or codec rebuilds what depends on it; otherwise this takes a moment. The prefix is
# named at install time only: configured with it, the bridge would find itself as the native codec.
cmake -S "$here" -B "$prefix/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$prefix/configure.log" 2>&1 || {
    cat "$prefix/configure.log" >&2
    exit 1
}
cmake --build "$prefix/build"
cmake --install "$prefix/build" --prefix "$prefix" >/dev/null
