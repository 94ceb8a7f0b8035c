#!/bin/bash
# Tests the host program from outside, on either platform.
#
#   host_program_test.sh WORKDIR -- COMMAND...
#
# WORKDIR   is made anew and left behind for inspection.
# COMMAND   the program, e.g. build/korutex, or a Wine command and korutex.exe.
# KORUTEX_TOOLS_DIR   the folder of the native programs testcard and compare_images
# KORUTEX_ASTCENC     the astcenc program; default: astcenc
set -u
export LC_ALL=C.UTF-8

if [ $# -lt 3 ] || [ "$2" != -- ]; then
    echo "usage: host_program_test.sh WORKDIR -- COMMAND..." >&2
    exit 2
fi
workdir=$1
shift 2
command=("$@")
program=${command[-1]}
testcard=$(realpath "${KORUTEX_TOOLS_DIR:-$(dirname "$program")}/testcard")
compare=$(realpath "${KORUTEX_TOOLS_DIR:-$(dirname "$program")}/compare_images")
astcenc=${KORUTEX_ASTCENC:-astcenc}
windows=false
case $program in *.exe) windows=true ;; esac
for i in "${!command[@]}"; do
    case ${command[i]} in */*) command[i]=$(realpath "${command[i]}") ;; esac
done

rm -rf "$workdir"
mkdir -p "$workdir" || exit 2
cd "$workdir" || exit 2
workdir=$PWD
logs=$workdir/logs
mkdir "$logs"

passed=0
failed=0
ok() { passed=$((passed + 1)); echo "ok - $1"; }
skip() { echo "ok - $1 # SKIP $2"; }
not_ok() {
    failed=$((failed + 1))
    echo "not ok - $1"
    echo "#   command: ${last[*]:-}"
    echo "#   exit code: ${rc:-}"
    sed 's/^/#   stdout: /' "$logs/out" 2>/dev/null | head -n 20
    sed 's/^/#   stderr: /' "$logs/err" 2>/dev/null | head -n 20
    [ -z "${why:-}" ] || echo "#   $why"
}

# Runs the program; leaves rc, out and err. Folders are separated by / in both.
run() {
    last=("$@")
    timeout 120 "${command[@]}" "$@" >"$logs/out" 2>"$logs/err" </dev/null
    rc=$?
    read_logs
}
read_logs() {
    out=$(cat "$logs/out"; echo .)
    err=$(cat "$logs/err"; echo .)
    out=${out%.}
    err=${err%.}
    if $windows; then
        out=${out//\\//}
        err=${err//\\//}
    fi
}

# check NAME CONDITION...: the condition is a command.
check() {
    local name=$1
    shift
    why="not true: $*"
    if "$@" >"$logs/check" 2>&1; then
        ok "$name"
    else
        why+=$(echo; sed 's/^/#     /' "$logs/check" | head -n 5)
        not_ok "$name"
    fi
    why=
}
result() { # result RC OUT ERR
    [ "$rc" = "$1" ] || { echo "exit code is $rc, not $1"; return 1; }
    [ "$out" = "$2" ] || { echo "stdout is not: $2"; return 1; }
    [ "$err" = "$3" ] || { echo "stderr is not: $3"; return 1; }
}
good() { # good OUT: success, nothing on stderr
    result 0 "$1" ""
}
bad_file() { # bad_file FILE REASON: exit code 1 and this one line
    result 1 "" "korutex: $1: $2"$'\n'
}
reported() { # reported FILE REASON: exit code 1, this one line, anything on stdout
    [ "$rc" = 1 ] && [ "$err" = "korutex: $1: $2"$'\n' ]
}
usage_error() { # usage_error TEXT: exit code 2, nothing on stdout, one line with the text
    [ "$rc" = 2 ] && [ -z "$out" ] || return 1
    [ "$(wc -l <"$logs/err")" = 1 ] || return 1
    case $err in "korutex: "*"$1"*) ;; *) return 1 ;; esac
}
contains() { case $1 in *"$2"*) ;; *) echo "no '$2'"; return 1 ;; esac }
no_temporaries() { [ -z "$(find "$workdir" -name '.korutex-*' -print)" ]; }
same_bytes() { cmp "$1" "$2"; }
byte_at() { od -An -tu1 -j "$2" -N 1 "$1" | tr -d ' '; }

children() { cat "/proc/$1/task/"*/children 2>/dev/null | tr '\n' ' '; }

make_astc() { # make_astc SIZE FOOTPRINT NAME: NAME.astc and its decoded NAME.ref.png
    "$testcard" "$1" card.png --seed "${4:-1}" &&
        "$astcenc" -cl card.png "$3.astc" "$2" -fast -silent >/dev/null &&
        "$astcenc" -dl "$3.astc" "$3.ref.png" -silent >/dev/null &&
        rm card.png
}
bytes() { printf '%b' "$1"; }

make_astc 96x60 6x6 a || { echo "the inputs cannot be made" >&2; exit 2; }
make_astc 65x33 8x8 b 2 || exit 2

# --- help and usage ---

run --version
check "--version" good $'korutex 0.1.0\n'
run --help
check "--help succeeds" [ "$rc" = 0 ]
check "--help names the commands" eval 'contains "$out" convert && contains "$out" info'
check "--help has examples" contains "$out" "Examples:"
check "--help says what does not load" contains "$out" "KTX and PVR files are recognised, but"
help=$out
run
check "no arguments: help, exit code 2" result 2 "$help" ""
run convert --help
check "convert --help" eval '[ "$rc" = 0 ] && contains "$out" --rgb && contains "$out" --jobs'
check "no example of what does not load" eval '! contains "$help$out" .ktx'
check "the worker mode is hidden" eval '! contains "$help$out" worker'
run info --help
check "info --help" eval '[ "$rc" = 0 ] && contains "$out" --json'
run frobnicate
check "unknown command" usage_error "frobnicate"
run convert
check "convert without inputs" usage_error "--help"
run info
check "info without files" usage_error "--help"
run convert a.astc --frobnicate
check "unknown option" usage_error "--frobnicate"
run convert a.astc -o
check "-o without a name" usage_error "--output"
run convert a.astc -o ''
check "-o with an empty name" usage_error "-o"
run convert a.astc -o -
check "-o -" usage_error "cannot write to standard output"
for ending in .png folder/.tga .PPM; do
    run convert a.astc -o "$ending"
    check "-o $ending" usage_error "lacks a name before the ending"
done
run convert a.astc b.astc -o .png
check "-o .png for two inputs" usage_error "lacks a name before the ending"
check "no folder of such a name" eval '[ ! -e - ] && [ ! -e .png ] && [ ! -e folder ]'
for count in x -1 1.5 100000; do
    run convert a.astc -j "$count"
    check "-j $count" usage_error "--jobs"
done
run convert a.astc -o a.jpg
check "unknown picture format" usage_error ".png, .ppm or .tga"
run convert a.astc b.astc -o both.png
check "one picture for two inputs" usage_error "more than one input"
echo text >plain
run convert a.astc b.astc -o plain
check "-o is a file and not a folder" usage_error "not a folder"
run convert a.astc -o plain/
check "-o FILE/ is not a folder" usage_error "not a folder"
check "usage errors write nothing" eval '[ -z "$(find . -name "*.png" ! -name "*.ref.png")" ]'

# --- one file ---

run convert a.astc
check "convert beside the input" good $'a.astc -> a.png (96x60)\n'
check "its pixels" "$compare" a.png a.ref.png
check "it has alpha" [ "$(byte_at a.png 25)" = 6 ]
run convert a.astc -o one.png
check "convert to a named file" good $'a.astc -> one.png (96x60)\n'
check "its bytes" same_bytes one.png a.png
run convert -o two.PNG -- a.astc
check "an ending in capitals, and --" same_bytes two.PNG a.png
run convert a.astc -o one.tga
check "TGA" good $'a.astc -> one.tga (96x60)\n'
check "TGA pixels" "$compare" one.tga a.ref.png
run convert a.astc -o one.ppm
check "PPM" good $'a.astc -> one.ppm (96x60)\n'
check "PPM pixels" "$compare" --rgb one.ppm a.ref.png
check "PPM begins with P6" [ "$(head -c 2 one.ppm)" = P6 ]
run convert a.astc --rgb -o rgb.png
check "--rgb" good $'a.astc -> rgb.png (96x60)\n'
check "--rgb pixels" "$compare" --rgb rgb.png a.ref.png
check "--rgb has no alpha" [ "$(byte_at rgb.png 25)" = 2 ]
run convert a.astc --rgb -o rgb.tga
check "--rgb TGA pixels" "$compare" rgb.png rgb.tga
run convert a.astc --rgb -o rgb.ppm
check "--rgb PPM" same_bytes rgb.ppm one.ppm
cp a.astc wrong.ktx
run convert wrong.ktx
check "content counts, not the ending" same_bytes wrong.png a.png
cp a.astc none
run convert none
check "an input without an ending" same_bytes none.png a.png
cp a.astc '[a]'
cp a.astc info
cp a.astc '{}'
run convert '[a]' info '{}' -o odd
check "inputs that look like lists or commands" \
    eval 'same_bytes "odd/[a].png" a.png && same_bytes odd/info.png a.png &&
        same_bytes "odd/{}.png" a.png'

# --- pixels of many layouts ---

for layout in "64x64 4x4" "61x47 5x4" "37x53 8x8" "100x75 12x12" "1x1 6x6" "5x3 10x5" \
    "257x3 10x10"; do
    set -- $layout
    make_astc "$1" "$2" "grid_$1_$2" 3
    run convert "grid_$1_$2.astc"
    check "$1 pixels in blocks of $2" "$compare" "grid_$1_$2.png" "grid_$1_$2.ref.png"
done

# --- folders and many files ---

run convert a.astc -o new/deep/folder/
check "a new folder, with parents" same_bytes new/deep/folder/a.png a.png
run convert a.astc -o plainfolder
check "a new folder without /" same_bytes plainfolder/a.png a.png
run convert a.astc -o new
check "an existing folder" good $'a.astc -> new/a.png (96x60)\n'
run convert a.astc b.astc -o new
check "two files" good \
    $'a.astc -> new/a.png (96x60)\nb.astc -> new/b.png (65x33)\n2 converted, 0 failed\n'
check "pixels of the second" "$compare" new/b.png b.ref.png
run convert a.astc -o plain/folder/
check "a folder that cannot be made" eval '[ "$rc" != 0 ] && [ "$(wc -l <"$logs/err")" = 1 ]'

mkdir same
cp a.astc same/a.astc
run convert a.astc same/a.astc -o collide
check "two inputs for one output" usage_error "both be written to"
check "nothing was written then" [ ! -e collide ]
run convert a.astc ./a.astc
check "one input twice" usage_error "both be written to"
cp a.astc same/input.png
run convert same/input.png
check "an output would overwrite its input" usage_error "would overwrite the input"
run convert a.astc same/input.png -o same/../same/input.png
check "... more than one input for a picture" usage_error "more than one input"
run convert a.astc -o same/../same/a.png
check "another way to write a path" good $'a.astc -> same/../same/a.png (96x60)\n'
cp a.astc same/x.png
cp b.astc x.astc
run convert x.astc same/x.png -o same
check "an output would overwrite another input" usage_error "would overwrite the input"
check "that input is whole" same_bytes same/x.png a.astc
if $windows; then
    cp a.astc A2.astc
    cp a.astc a2.txt
    run convert A2.astc a2.txt
    check "names that differ in case collide" usage_error "both be written to"
    mkdir pattern
    cp a.astc b.astc pattern
    run convert 'pattern/*.astc' -o matched
    check "patterns are expanded" eval 'same_bytes matched/a.png a.png && [ -e matched/b.png ]'
else
    ln -s same/x.png link.png
    run convert same/x.png -o link.png
    check "an output links to its input" usage_error "would overwrite the input"
    echo old >linked.png
    chmod 640 linked.png
    ln -s ../linked.png new/link.png
    run convert a.astc -o new/link.png
    check "a linked output: the file changes, the link stays" \
        eval '[ -L new/link.png ] && same_bytes linked.png a.png'
    check "a replaced file keeps its permissions" [ "$(stat -c %a linked.png)" = 640 ]
    mkdir links
    ln -s links/second first.png
    ln -s ../links/target.png links/second
    run convert a.astc -o first.png
    check "links to a file that is still to be made" good $'a.astc -> first.png (96x60)\n'
    check "the file is made, the links stay" \
        eval '[ -L first.png ] && [ -L links/second ] && [ ! -L links/target.png ] &&
            same_bytes links/target.png a.png'
    ln -s "$workdir/links/b.png" links/a.png
    run convert a.astc b.astc -o links
    check "an output links to another one that is still to be made" usage_error "both be written to"
    rm links/a.png
    ln -s nowhere/a.png links/a.png
    run convert a.astc -o links
    check "a link into a missing folder" \
        bad_file links/a.png "cannot be written: No such file or directory"
    ln -s circle.png circle.png
    run convert a.astc -o circle.png
    check "an output links to itself" \
        bad_file circle.png "cannot be written: Too many levels of symbolic links"
    check "it still does" [ -L circle.png ]
fi

# --- names ---

folder=$(bytes 'Gr\xc3\xbc\xc3\x9fe')
name=$(bytes '\xe5\x9b\xb3 \xf0\x9f\x8e\xa8')
mkdir "$folder"
cp a.astc "$folder/$name.astc"
run convert "$folder/$name.astc"
check "a name beyond ASCII" good \
    "$folder/$name.astc -> $folder/$name.png (96x60)"$'\n'
check "its file" same_bytes "$folder/$name.png" a.png
run convert "$folder/$name.astc" b.astc -o "$name/" -j 2
check "a folder beyond ASCII, with workers" same_bytes "$name/$name.png" a.png
run info "$folder/$name.astc"
check "info of it" contains "$out" "$folder/$name.astc"
cp a.astc 'two words.astc'
run convert 'two words.astc'
check "a name with a space" same_bytes 'two words.png' a.png
if ! $windows; then
    newline=$'line\nbreak'
    cp a.astc "$newline.astc"
    run convert "$newline.astc" b.astc -o names -j 2
    check "a name with a newline" eval 'same_bytes "names/$newline.png" a.png'
    check "it stays on one line" contains "$out" 'line\nbreak.astc -> names/line\nbreak.png (96x60)'
    run convert $'no\nsuch'
    check "also in errors" bad_file 'no\nsuch' "no such file"
    broken=$(bytes 'bad\xff\xfe')
    cp a.astc "$broken.astc"
    run convert "$broken.astc"
    check "a name that is not UTF-8" good 'bad\xFF\xFE.astc -> bad\xFF\xFE.png (96x60)'$'\n'
    check "its file" same_bytes "$broken.png" a.png
fi

# --- info ---

run info a.astc
check "info" good "a.astc
  container  ASTC
  size       96 x 60
  blocks     ASTC 6x6
  record     RGBA, 8 bits per channel, stride 384, 23040 bytes
  file       $(stat -c %s a.astc) bytes
  loads      yes
"
run info a.astc b.astc
check "info of two" eval '[ "$rc" = 0 ] && contains "$out" $'\''yes\n\nb.astc\n'\'''
# A volume: the library loads images of depth 1 only.
bytes '\x13\xab\xa1\x5c\x06\x06\x03\x08\x00\x00\x08\x00\x00\x05\x00\x00' >volume.astc
head -c 128 /dev/zero >>volume.astc
depth_5="its depth is 5, only images of depth 1 are read"
run info volume.astc
check "info of a volume" result 1 "volume.astc
  container  ASTC
  size       8 x 8 x 5
  blocks     ASTC 6x6x3
  file       144 bytes
  loads      no
" "korutex: volume.astc: cannot be decoded: $depth_5"$'\n'
bytes '\x13\xab\xa1\x5c\x06\x06\x00' >cut.astc
run info cut.astc
check "info of a cut header" result 1 \
    $'cut.astc\n  container  ASTC\n  file       7 bytes\n  loads      no\n' \
    $'korutex: cut.astc: cannot be decoded: its header is cut off\n'

containers=("ktx1|KTX 1.1|\xabKTX 11\xbb\r\n\x1a\n" "ktx2|KTX 2.0|\xabKTX 20\xbb\r\n\x1a\n"
    "wrapped|QOZM-wrapped KTX|QOZM" "pvr3|PVR version 3|PVR\x03"
    "pvr2|PVR legacy|$(printf '\\x00%.0s' {1..44})PVR!")
for entry in "${containers[@]}"; do
    file=${entry%%|*}
    entry=${entry#*|}
    bytes "${entry#*|}" >"$file"
    run info "$file"
    check "info knows ${entry%%|*}" \
        eval '[ "$rc" = 1 ] && contains "$out" "container  ${entry%%|*}"'
    run convert "$file"
    family=KTX
    case $file in pvr*) family=PVR ;; esac
    check "no reader yet: ${entry%%|*}" \
        bad_file "$file" "cannot be decoded: this version reads no $family files"
done

valid_json() {
    if command -v python3 >/dev/null; then
        python3 -m json.tool <"$logs/out"
    elif command -v jq >/dev/null; then
        jq . <"$logs/out"
    else
        [ "${out:0:1}" = "[" ]
    fi
}
run info --json a.astc
check "info --json" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
check "its file" contains "$out" '"file": "a.astc"'
check "its container" contains "$out" '"container": "ASTC"'
check "its sizes" eval 'contains "$out" "\"width\": 96" && contains "$out" "\"height\": 60"'
check "its file size" contains "$out" "\"fileBytes\": $(stat -c %s a.astc)"
check "its blocks" contains "$out" '"blockFootprint": "6x6"'
check "it loads" contains "$out" '"loads": true'
check "no error, no warning" \
    eval 'contains "$out" "\"error\": null" && contains "$out" "\"warning\": null"'
no_ktx="this version reads no KTX files"
run info --json missing.astc a.astc ktx2
check "info --json with bad files" eval '[ "$rc" = 1 ] && valid_json'
check "their errors" eval 'contains "$out" "\"error\": \"no such file\"" &&
    contains "$out" "\"error\": \"cannot be decoded: $no_ktx\"" && contains "$out" "\"loads\": false"'
check "one line for each bad file" [ "$err" = \
    $'korutex: missing.astc: no such file\nkorutex: ktx2: cannot be decoded: '"$no_ktx"$'\n' ]
if ! $windows; then
    run info --json "$broken.astc"
    check "info --json of a name that is not UTF-8" eval '[ "$rc" = 0 ] && valid_json'
fi

# --- bad inputs ---

mkdir folder.astc
: >empty.astc
echo "no texture" >text.astc
head -c 30 a.astc >short.astc
# FOOTPRINT WIDTH HEIGHT DEPTH, each field as escapes of its bytes
astc_header() { bytes "\x13\xab\xa1\x5c$1$2$3$4"; }
astc_header '\x06\x06\x01' '\0\0\0' '\x05\0\0' '\x01\0\0' >flat.astc
astc_header '\x06\x06\x01' '\x05\0\0' '\0\0\0' '\x01\0\0' >low.astc
astc_header '\x06\x06\x01' '\x05\0\0' '\x05\0\0' '\0\0\0' >thin.astc
astc_header '\x04\x04\x01' '\xff\xff\xff' '\xff\xff\xff' '\x01\0\0' >vast.astc
bad_input() { # bad_input NAME FILE REASON
    run convert "$2" -o never.png
    check "convert: $1" bad_file "$2" "$3"
    run info "$2"
    check "info: $1" reported "$2" "$3"
}
bad_input "no such file" missing.astc "no such file"
bad_input "a file is no folder" a.astc/missing.astc "no such file"
bad_input "a folder" folder.astc "is a directory"
bad_input "an empty file" empty.astc "is empty"
bad_input "another content" text.astc "is not an ASTC, KTX or PVR file"
bad_input "a cut file" short.astc "cannot be decoded: holds 14 bytes of blocks, needs 2560"
bad_input "a cut header" cut.astc "cannot be decoded: its header is cut off"
bad_input "a width of 0" flat.astc "cannot be decoded: its size is 0 x 5"
bad_input "a height of 0" low.astc "cannot be decoded: its size is 5 x 0"
bad_input "a depth of 0" thin.astc \
    "cannot be decoded: its depth is 0, only images of depth 1 are read"
bad_input "a volume" volume.astc "cannot be decoded: $depth_5"
bad_input "more blocks than 32 bits can count" vast.astc \
    "cannot be decoded: holds 0 bytes of blocks, needs 281474976710656"
# Blocks so large that a small file has too large a picture; all of its data is a hole.
astc_header '\xff\xff\x01' '\xff\xff\0' '\xff\xff\0' '\x01\0\0' >wide.astc
truncate -s 2M wide.astc
bad_input "pixels of 4 GiB" wide.astc "cannot be decoded: its pixels take 4 GiB or more"
if cp a.astc huge.astc && truncate -s 4G huge.astc 2>/dev/null; then
    bad_input "a huge file" huge.astc "is 4 GiB or larger"
    rm -f huge.astc
else
    skip "a huge file" "this file system has no room for it"
fi
if ! $windows; then
    mkfifo pipe.astc
    bad_input "a named pipe" pipe.astc "is not a regular file"
    bad_input "a device" /dev/null "is not a regular file"
    ln -s loop.astc loop.astc
    bad_input "a link to itself" loop.astc "cannot be read: Too many levels of symbolic links"
    long=$(printf 'x%.0s' {1..300})
    bad_input "a name too long" "$long" "cannot be read: File name too long"
    if [ "$(id -u)" != 0 ]; then
        cp a.astc secret.astc
        chmod 000 secret.astc
        bad_input "no permission" secret.astc "cannot be read: Permission denied"
    else
        skip "no permission" "root may read everything"
    fi
fi
check "no output of a bad input" [ ! -e never.png ]

# --- footprints that ASTC does not have ---

mkdir footprints
colour='\xfc\xfd\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff'
one='\x01\0\0'
for footprint in 4x4x1 5x4x1 5x5x1 6x5x1 6x6x1 8x5x1 8x6x1 8x8x1 10x5x1 10x6x1 10x8x1 10x10x1 \
    12x10x1 12x12x1 3x3x3 4x3x3 4x4x3 4x4x4 5x4x4 5x5x4 5x5x5 6x5x5 6x6x5 6x6x6 6x6x0; do
    IFS=x read -r x y z <<<"$footprint"
    astc_header "$(printf '\\x%x\\x%x\\x%x' "$x" "$y" "$z")" "$one" "$one" "$one" \
        >"footprints/$footprint.astc"
    bytes "$colour" >>"footprints/$footprint.astc"
done
run convert footprints/*.astc -o footprints/out
check "no warning of ASTC's own footprints" \
    eval '[ "$rc" = 0 ] && [ -z "$err" ] && contains "$out" "25 converted, 0 failed"'
astc_header '\x03\x03\x01' "$one" "$one" "$one" >odd2.astc
astc_header '\x04\x04\x02' "$one" "$one" "$one" >odd3.astc
bytes "$colour" | tee -a odd2.astc >>odd3.astc
odd2_warning=$'korutex: odd2.astc: warning: ASTC has no 3x3 blocks; the picture is empty\n'
odd3_warning=$'korutex: odd3.astc: warning: ASTC has no 4x4x2 blocks; the picture is empty\n'
run convert odd2.astc
check "a warning of 3x3 blocks" result 0 $'odd2.astc -> odd2.png (1x1)\n' "$odd2_warning"
run info odd2.astc
check "info warns, too" eval '[ "$rc" = 0 ] && [ "$err" = "$odd2_warning" ] &&
    contains "$out" "loads      yes"'
run info --json odd3.astc
check "info --json warns" eval '[ "$rc" = 0 ] && [ "$err" = "$odd3_warning" ] && valid_json &&
    contains "$out" "\"warning\": \"ASTC has no 4x4x2 blocks; the picture is empty\""'
run convert odd3.astc a.astc text.astc odd2.astc -o odd -j 3
check "warnings of workers come in order" result 1 \
    $'odd3.astc -> odd/odd3.png (1x1)\na.astc -> odd/a.png (96x60)
odd2.astc -> odd/odd2.png (1x1)\n3 converted, 1 failed\n' \
    "${odd3_warning}korutex: text.astc: is not an ASTC, KTX or PVR file"$'\n'"$odd2_warning"

# --- outputs ---

echo old >keep.png
run convert text.astc -o keep.png
check "a failed conversion keeps the old file" [ "$(cat keep.png)" = old ]
run convert a.astc -o nowhere/out.png
check "the output's folder is missing" \
    bad_file nowhere/out.png "cannot be written: No such file or directory"
cp a.astc taken.astc
mkdir taken.png
run convert taken.astc
check "the output is a folder" bad_file taken.png "cannot be written: Is a directory"
run convert a.astc -o keep.png
check "an existing file is replaced" same_bytes keep.png a.png

# Root may write what is protected; then another user has to try, in a folder of its own.
user=()
mkdir user
cp a.astc user/a.astc
echo old >user/a.png
chmod 444 user/a.png
why_no_user=
if ! $windows && [ "$(id -u)" = 0 ]; then
    user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    chown -R 65534:65534 user
    if ! "${user[@]}" "${command[@]}" info user/a.astc >"$logs/out" 2>&1; then
        why_no_user="root may write it, and no other user can run the program here"
    fi
fi
if [ -z "$why_no_user" ]; then
    last=(convert user/a.astc "(not as root)")
    "${user[@]}" "${command[@]}" convert user/a.astc >"$logs/out" 2>"$logs/err" </dev/null
    rc=$?
    read_logs
    check "a write-protected output" bad_file user/a.png "cannot be written: Permission denied"
    check "it keeps its content" [ "$(cat user/a.png)" = old ]
else
    skip "a write-protected output" "$why_no_user"
fi
if ! $windows; then
    echo old >full.png
    last=(convert a.astc -o full.png "(limited file size)")
    (ulimit -f 2 && "${command[@]}" convert a.astc -o full.png >"$logs/out" 2>"$logs/err")
    rc=$?
    read_logs
    check "a write fails half-way" bad_file full.png "cannot be written: File too large"
    check "the old file is whole" [ "$(cat full.png)" = old ]
    if [ "$(id -u)" != 0 ]; then
        mkdir locked
        chmod 555 locked
        run convert a.astc -o locked/a.png
        check "a read-only folder" bad_file locked/a.png "cannot be written: Permission denied"
    else
        skip "a read-only folder" "root may write everywhere"
    fi
    if [ -w /dev/full ]; then
        last=(info a.astc "(standard output is full)")
        "${command[@]}" info a.astc >/dev/full 2>"$logs/err"
        rc=$?
        : >"$logs/out"
        read_logs
        check "standard output is full" bad_file "standard output" "cannot be written"
    fi
fi
check "no temporary files are left" no_temporaries

# --- worker processes ---

mkdir many
for i in $(seq -w 1 24); do
    "$testcard" "$((20 + 10#$i * 7))x$((90 - 10#$i * 2))" card.png --seed "$((10#$i))"
    "$astcenc" -cl card.png "many/$i.astc" 5x5 -fast -silent >/dev/null
done
echo text >many/07.astc
: >many/13.astc
head -c 40 many/20.astc >many/cut && mv many/cut many/20.astc
run convert many/*.astc -o serial -j 1
check "-j 1 with bad files" [ "$rc" = 1 ]
check "the summary" contains "$out" "21 converted, 3 failed"
serial_out=$out
serial_err=$err
run convert many/*.astc -o serial -j 4
check "-j 4 says the same, in order" result 1 "$serial_out" "$serial_err"
for jobs in 2 4 0 100; do
    run convert many/*.astc -o "parallel$jobs" -j "$jobs"
    check "-j $jobs writes the same files" diff -r serial "parallel$jobs"
done
run convert many/01.astc many/02.astc -o rgbparallel --rgb -j 2
check "--rgb reaches the workers" [ "$(byte_at rgbparallel/02.png 25)" = 2 ]
check "no progress line in a pipe" \
    eval '! contains "$err$out" $'\''\r'\'' && ! contains "$err" done'

if ! $windows; then
    # The program has 3 descriptors, keeps 2 for a worker, and needs 2 more to start one: 9 are
    # enough for two workers of four, 6 for none.
    # A sanitizer opens pipes of its own for its checks, and cannot do with so few.
    for limit in ${KORUTEX_DESCRIPTOR_LIMITS:-9 8 6}; do
        last=(convert many/*.astc -o "limit$limit" -j 4 "(limited to $limit descriptors)")
        (ulimit -n "$limit" && "${command[@]}" convert many/*.astc -o "limit$limit" -j 4 \
            >"$logs/out" 2>"$logs/err" </dev/null)
        rc=$?
        read_logs
        check "$limit descriptors: the same is said" \
            result 1 "${serial_out//serial/limit$limit}" "$serial_err"
        check "$limit descriptors: the same is written" diff -r serial "limit$limit"
    done

    last=(convert -j 2 "(without standard input)")
    "${command[@]}" convert many/01.astc many/02.astc -o closed -j 2 <&- >"$logs/out" 2>"$logs/err"
    rc=$?
    read_logs
    check "standard input may be closed" \
        eval '[ "$rc" = 0 ] && same_bytes closed/02.png serial/02.png'

    # Big files keep the workers busy until one of them is killed.
    make_astc 1500x1500 8x8 big
    mkdir killed
    for i in 1 2 3 4 5 6; do ln big.astc "killed/$i.astc"; done
    echo old >killed/1.png
    echo old >killed/2.png
    last=(convert -j 2 "(with a worker killed)")
    "${command[@]}" convert killed/?.astc -j 2 >"$logs/out" 2>"$logs/err" </dev/null &
    parent=$!
    worker=
    for _ in $(seq 200); do
        worker=$(children "$parent" | cut -d ' ' -f 1)
        [ -z "$worker" ] || break
        sleep 0.01
    done
    sleep 0.1
    [ -z "$worker" ] || kill -KILL "$worker"
    wait "$parent"
    rc=$?
    read_logs
    check "a killed worker costs its file only" \
        eval '[ "$rc" = 1 ] && contains "$out" "5 converted, 1 failed"'
    check "that file is reported" \
        contains "$err" "cannot be decoded: the worker process died (signal 9)"
    check "on one line" [ "$(wc -l <"$logs/err")" = 1 ]
    lost=$(sed -n 's|^korutex: killed/\(.\)\.astc: .*|\1|p' "$logs/err")
    check "its old output is whole" [ "$(cat "killed/${lost:-x}.png")" = old ]
    check "no temporary file of it is left" no_temporaries

    # A run that is interrupted leaves no half file, and its workers end.
    echo old >killed/1.png
    last=(convert -j 2 "(interrupted)")
    "${command[@]}" convert killed/?.astc -j 2 >"$logs/out" 2>"$logs/err" </dev/null &
    parent=$!
    sleep 0.3
    workers=$(children "$parent")
    kill -TERM "$parent"
    wait "$parent" 2>/dev/null
    rc=$?
    gone=false
    for _ in $(seq 300); do
        gone=true
        for worker in $workers; do
            # A zombie has ended; whoever adopted it has not noticed yet.
            state=$(sed 's/.*) //' "/proc/$worker/stat" 2>/dev/null)
            case $state in "" | Z*) ;; *) gone=false ;; esac
        done
        if $gone; then break; fi
        sleep 0.05
    done
    check "workers end with their parent" $gone
    check "and clean up" no_temporaries
fi

# --- progress ---

if $windows; then
    skip "progress on a terminal" "not under Wine"
elif ! command -v script >/dev/null; then
    skip "progress on a terminal" "the program script is missing"
else
    line=$(printf '%q ' "${command[@]}" convert many/01.astc many/02.astc -o tty)
    last=("$line" "(on a terminal)")
    script -qec "$line" /dev/null >"$logs/out" 2>"$logs/err" </dev/null
    rc=$?
    read_logs
    check "progress on a terminal" eval '[ "$rc" = 0 ] && contains "$out" "1 of 2 done"'
    line=$(printf '%q ' "${command[@]}" convert many/01.astc -o tty)
    script -qec "$line" /dev/null >"$logs/out" 2>"$logs/err" </dev/null
    rc=$?
    read_logs
    check "none for one file" eval '! contains "$out" "done"'
fi

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
