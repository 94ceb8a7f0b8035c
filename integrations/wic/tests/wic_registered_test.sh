#!/bin/bash
# Registers the server in a Windows of the test's own, and opens textures with a program that knows only
# WIC.
#
#   wic_registered_test.sh WORKDIR SAMPLES RUN_WINE SERVER.dll LIBRARY.dll CLIENT.exe TOOLS_DIR
#
# WORKDIR    is made anew and left behind for inspection.
# RUN_WINE   the script that runs Windows programs
# TOOLS_DIR  the folder of the native programs korutex and compare_images
set -u
shopt -s lastpipe
export LC_ALL=C.UTF-8

[ $# = 7 ] || { sed -n '5,9s/^# //p' "$0" >&2; exit 2; }
workdir=$1 samples=$2 run_wine=$3 server=$4 library=$5 client=$6 tools=$7
here=$(cd "$(dirname "$0")" && pwd)

astc_decoder={CD4BAB0A-0F0E-40A7-8FF7-3EA047F9BDCB}
ktx_decoder={7C8C80C7-3D6F-41A5-94C6-44766CA7FA97}
pvr_decoder={A323B99C-FAF8-43D3-AFBE-FEABC07EBE26}
astc_container={22C2C86C-20ED-417D-869A-814C73905D6C}
ktx_container={8FEF0F77-405A-49AA-A8DE-3398FD5FD9FF}
pvr_container={D541AEC6-6BF0-4398-8005-AE18BE852C0F}
thumbnail_provider={A63D5C69-6519-4813-8F17-94E5B8D20FCE}
rgba={F5C7AD2D-6A8D-43DD-A7A8-A29935261AE9}
thumbnail_handler='ShellEx\{E357FCCD-A995-4576-B01F-234630154E96}'
not_found=0x88982F50

passed=0
failed=0
check() { # check NAME COMMAND...
    local name=$1
    shift
    if "$@" >check.log 2>&1; then
        passed=$((passed + 1))
        echo "ok - $name"
    else
        failed=$((failed + 1))
        echo "not ok - $name"
        head -n 20 check.log | sed 's/^/#   /'
    fi
}
same_lines() { diff <(printf '%s\n' "$1") <(printf '%s\n' "$2"); }

rm -rf "$workdir"
mkdir -p "$workdir" && cd "$workdir" || exit 2
workdir=$PWD
export KORUTEX_WINEPREFIX=$workdir/prefix
windows() { "$run_wine" "$@" </dev/null 2>>wine.log | tr -d '\r'; }
trap '"$run_wine" --stop >/dev/null 2>&1' EXIT

installed="installed, with blanks"
mkdir "$installed" good bad expected decode stream thumbnails scaled
cp "$server" "$library" "$installed"
server="Z:$workdir/$installed/$(basename "$server")"
python3 "$here/make_wic_inputs.py" "$samples" good bad || exit 2
cp "$samples"/testcard-* good
register() { windows regsvr32.exe /s "$server"; [ "${PIPESTATUS[0]}" = 0 ]; }
unregister() { windows regsvr32.exe /u /s "$server"; [ "${PIPESTATUS[0]}" = 0 ]; }
export_registry() { windows reg.exe export 'HKLM\Software' "$1.reg" /y >/dev/null; }
get_value() { windows reg.exe query "HKLM\\Software\\Classes\\$1" /ve; }

# --- settings of another program ---

other={01234567-89AB-CDEF-0123-456789ABCDEF}
windows reg.exe add 'HKLM\Software\Classes\.pvr' /ve /d Other.Texture /f >/dev/null
windows reg.exe add "HKLM\\Software\\Classes\\.pvr\\$thumbnail_handler" /ve /d "$other" /f >/dev/null
export_registry before
check "the registry was exported" [ -s before.reg ]

# --- not registered ---

windows "$client" decode decode good/* >out
check "without the server there is no decoder" \
    [ "$(grep -c " CreateDecoderFromFilename $not_found\$" out)" = "$(ls good | wc -l)" ]

# --- registered ---

check "regsvr32 registers the server" register
check "another program's file type stays" grep -q Other.Texture <(get_value .pvr)
check "its thumbnail handler, too" grep -qF "$other" <(get_value ".pvr\\$thumbnail_handler")
check "elsewhere the handler is ours" \
    grep -qF "$thumbnail_provider" <(get_value ".ktx\\$thumbnail_handler")

windows "$client" info $astc_decoder $ktx_decoder $pvr_decoder >out
facts() { # facts DECODER CONTAINER NAME EXTENSIONS MIMES PATTERNS
    echo "$1: $2 name=korutex $3 Decoder extensions=$4 mimes=$5 author=korutex" \
        "version=$("$tools/korutex" --version | sed 's/.* //').0 formats=1 $rgba patterns=$6"
}
check "WIC knows the decoders" same_lines "$(cat out)" \
    "$(facts $astc_decoder $astc_container ASTC .astc image/astc 1
       facts $ktx_decoder $ktx_container KTX .ktx,.ktx2 image/ktx,image/ktx2 3
       facts $pvr_decoder $pvr_container PVR .pvr image/x-pvr 2)"

for file in good/*; do
    name=$(basename "$file")
    mkdir "expected/$name"
    "$tools/korutex" convert "$file" -o "expected/$name/picture.png" >/dev/null 2>>korutex.log
done
size_of() { # of a PNG file
    printf '%dx%d' "0x$(od -An -tx1 -j16 -N4 "$1" | tr -d ' ')" "0x$(od -An -tx1 -j20 -N4 "$1" | tr -d ' ')"
}
container_of() {
    case $(head -c 4 "$1" | od -An -tx1 | tr -d ' ') in
        13aba15c) echo $astc_container ;;
        ab4b5458 | 514f5a4d) echo $ktx_container ;;
        *) echo $pvr_container ;;
    esac
}
for file in good/*; do
    name=$(basename "$file")
    echo "$name: $(container_of "$file") $rgba $(size_of "expected/$name/picture.png") 96x96 dpi"
done >expected.txt
for way in decode stream; do
    windows "$client" $way "$way" good/* >out
    check "$way: what is told of each file" diff expected.txt out
    for file in good/*; do
        name=$(basename "$file")
        check "$way: the pixels of $name" \
            "$tools/compare_images" "expected/$name/picture.png" "$way/$name.png"
    done
done

# --- damaged files ---

windows "$client" decode decode bad/* >out
for file in bad/*; do
    code=${file#*.}
    echo "$(basename "$file"): CreateDecoderFromFilename ${code%.ktx}"
done >expected.txt
check "damaged files have their codes" diff expected.txt out

# --- WIC's scaler, thumbnails ---

windows "$client" scale 96 scaled good/testcard-6x6.astc good/testcard-5x4-odd.astc >out
check "WIC's scaler works on frames" same_lines "$(cat out)" \
    $'testcard-6x6.astc: 96x72\ntestcard-5x4-odd.astc: 96x72'
windows "$client" thumbnail $thumbnail_provider 100 thumbnails \
    good/testcard-6x6.astc good/testcard-etc1.ktx good/testcard-rgb8.ktx good/legacy.pvr good/b-stray-alpha.pvr \
    bad/cut.*.ktx >out
check "thumbnails" same_lines "$(cat out)" "testcard-6x6.astc: 100x75 argb premultiplied
testcard-etc1.ktx: 100x75 rgb opaque premultiplied
testcard-rgb8.ktx: 100x75 rgb opaque premultiplied
legacy.pvr: 16x9 argb premultiplied
b-stray-alpha.pvr: 16x9 rgb opaque premultiplied
cut.0x88982F60.ktx: GetThumbnail 0x88982F60"
check "a thumbnail at full size has the pixels" \
    "$tools/compare_images" expected/b-stray-alpha.pvr/picture.png thumbnails/b-stray-alpha.pvr.png

# --- a library that is gone ---

mv "$installed/korutex_64.dll" hidden.dll
windows "$client" direct $ktx_decoder good/testcard-bc1.ktx >out
check "without korutex_64.dll beside it the server says so" same_lines "$(cat out)" \
    "testcard-bc1.ktx: capability 2, Initialize 0x88982F8B"
mv hidden.dll "$installed/korutex_64.dll"

# --- unregistered ---

check "regsvr32 unregisters it" unregister
export_registry after
check "the registry is as it was" cmp before.reg after.reg
windows "$client" decode decode good/* >out
check "there is no decoder again" \
    [ "$(grep -c " CreateDecoderFromFilename $not_found\$" out)" = "$(ls good | wc -l)" ]

echo "$passed passed, $failed failed, 0 skipped"
[ "$failed" = 0 ]
