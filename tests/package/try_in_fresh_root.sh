#!/usr/bin/env bash
# Run inside a new Debian system, in which /share holds the package and the samples.
set -euo pipefail
cd /share
echo "The new system is there."

check() {  # check WHAT COMMAND...
    "${@:2}" || {
        echo "FAILED: $1"
        exit 1
    }
    echo "ok: $1" >> result.txt
}

# Names and contents of all that packages bring. The linker's cache tells times, dpkg's lists grow.
take_inventory() {
    find /usr /etc /var -xdev \( -path /var/lib/dpkg -o -path /var/log -o -path /var/cache -o -path /var/lib/apt \) \
        -prune -o -type f ! -name ld.so.cache -exec sha256sum {} + \
        -o -type l -printf '%l %p\n' | sort -k 2
}

export DEBIAN_FRONTEND=noninteractive
# What the package asks for, so that only its own files are compared.
apt-get satisfy -y -qq "$(dpkg-deb -f korutex.deb Depends), $(dpkg-deb -f korutex.deb Recommends)"
take_inventory > before.txt

apt-get install -y -qq ./korutex.deb
check "the package is installed" dpkg-query -W korutex
check "nothing of it is missing or changed" dpkg --verify korutex
check "no package is left half configured" test -z "$(dpkg --audit)"
check "the program runs" korutex --version
korutex convert testcard-bc3.ktx2 -o converted.png
check "and converts as the build's own does" cmp converted.png expected.png
ldconfig -p > libraries.txt
check "programs find the library" grep -q libkorutex_64.so.0 libraries.txt

for sample in *.astc *.ktx *.ktx2; do
    gdk-pixbuf-thumbnailer -s 64 "$sample" thumbnail.png
    check "$sample has a thumbnail" test -s thumbnail.png
    rm thumbnail.png
done
check "PVR files have a MIME type" grep -q '^image/x-pvr$' /usr/share/mime/types
check "and a thumbnailer" grep -q 'image/x-pvr' /usr/share/thumbnailers/*.thumbnailer

# As if a program had imported the package.
mkdir /usr/lib/python3/dist-packages/korutex/__pycache__
touch /usr/lib/python3/dist-packages/korutex/__pycache__/__init__.cpython-311.pyc

apt-get purge -y -qq korutex
take_inventory > after.txt
check "nothing is left of it" diff -u before.txt after.txt
