#!/usr/bin/env bash
# Usage: check_debian_package.sh BUILD_FOLDER WORK_FOLDER EXPECTED_CONTENTS
# Packs the build, and tries the package in a new Debian system: it must install, work there, and leave
# nothing behind when it is removed.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$1 work=$2 expected=$3
samples=$here/../../samples

passed=0
check() {  # check WHAT COMMAND...
    if ! "${@:2}"; then
        echo "FAILED: $1"
        echo "$passed passed, 1 failed, 0 skipped"
        exit 1
    fi
    passed=$((passed + 1))
}

rm -rf "$work"
mkdir -p "$work/share" "$work/tmp"
chmod 755 "$work" "$work/share"
chmod 1777 "$work/tmp"

# Those who pack may keep new files to themselves; what they pack is for all users.
(umask 077 && cpack --config "$build/CPackConfig.cmake" -B "$work/packages") > "$work/cpack.log" 2>&1 || {
    cat "$work/cpack.log"
    exit 1
}
package=$(echo "$work"/packages/korutex_*.deb)

# Versions and the architecture's folder stand for themselves in the list.
version=$(dpkg-deb -f "$package" Version)
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
dpkg-deb --fsys-tarfile "$package" | tar -t | grep -v -e '/$' -e '/doc/korutex/docs/' | sort |
    sed -e 's/^\.//' -e "s/$version/VERSION/" -e "s/$triplet/TRIPLET/" > "$work/contents.txt"
check "the package holds what it should" diff -u "$expected" "$work/contents.txt"
dpkg-deb --fsys-tarfile "$package" | tar -tv > "$work/listing.txt"
check "all files are root's" bash -c "! grep -v ' root/root ' '$work/listing.txt'"
check "all read what owners read" bash -c "! grep -E '^[^l](r..(-|...-)|..x(..-|.....-))' '$work/listing.txt'"
check "only owners write" bash -c "! grep -E '^[^l]....(w|...w)' '$work/listing.txt'"

cp "$package" "$work/share/korutex.deb"
cp "$samples"/*.astc "$samples"/*.ktx "$samples"/*.ktx2 "$work/share/"
cp "$here/try_in_fresh_root.sh" "$work/share/"
"$build/korutex" convert "$work/share/testcard-bc3.ktx2" -o "$work/share/expected.png" > /dev/null

suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
if ! TMPDIR="$work/tmp" mmdebstrap --variant=apt --format=null --quiet \
    --customize-hook="copy-in '$work/share' /" \
    --customize-hook='chroot "$1" bash /share/try_in_fresh_root.sh' \
    --customize-hook="copy-out /share/result.txt '$work'" \
    "$suite" - > "$work/root.log" 2>&1; then
    tail -n 40 "$work/root.log"
    if ! grep -q '^The new system is there' "$work/root.log"; then
        # No mirror, or no right to make one: that says nothing of the package.
        echo "A new Debian system cannot be made here, so the package was not installed anywhere."
        echo "$passed passed, 0 failed, 1 skipped"
        exit 77
    fi
    echo "$passed passed, 1 failed, 0 skipped"
    exit 1
fi
cat "$work/result.txt"
passed=$((passed + $(grep -c '^ok: ' "$work/result.txt")))
rm -rf "$work/packages" "$work/share" "$work/tmp"
echo "$passed passed, 0 failed, 0 skipped"
