# Debian packages by what they are for. Sourced by the scripts beside it.

build_packages=(cmake ninja-build g++ pkg-config libastcenc-dev liblz4-dev libcli11-dev
                nlohmann-json3-dev libstb-dev)
test_packages=(abigail-tools astcenc binutils bsdutils clang-format-14 clang-tidy-14 git googletest python3
               valgrind)
gdk_pixbuf_packages=(libgdk-pixbuf-2.0-dev libgdk-pixbuf2.0-bin shared-mime-info)
windows_packages=(g++-mingw-w64-x86-64-posix wine64 wine64-tools libwine-dev)
python_packages=(mypy python3-numpy python3-pil python3-pytest python3-setuptools python3-venv python3-wheel)
pipeline_packages=(parallel python3-distributed python3-numpy python3-pil python3-pytest)
package_packages=(dpkg-dev file)
package_test_packages=(mmdebstrap)
bench_packages=(astcenc libbenchmark-dev)
fuzz_packages=(clang-14 libclang-rt-14-dev llvm-14)
coverage_packages=(gcovr)

# Installs what is missing of the given packages, with sudo when not root.
install_missing() {
    local missing=() package
    for package in "$@"; do
        if [ "$(dpkg-query -W -f '${Status}' "$package" 2> /dev/null)" != "install ok installed" ]; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" > /dev/null
}
