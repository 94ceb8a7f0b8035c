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
shopt -s lastpipe  # what is counted at the end of a pipe counts
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
check "--help says what does not load" \
    contains "$out" "PVR files and QOZM-wrapped KTX files are recognised,"
help=$out
run
check "no arguments: help, exit code 2" result 2 "$help" ""
run convert --help
check "convert --help" eval '[ "$rc" = 0 ] && contains "$out" --rgb && contains "$out" --jobs'
check "no example of what does not load" eval '! contains "$help$out" .pvr'
check "examples of all that loads" \
    eval 'contains "$help$out" .astc && contains "$help$out" .ktx && contains "$help$out" .ktx2'
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
done
for file in ktx1 ktx2; do
    run convert "$file"
    check "$file: nothing but an identifier" \
        bad_file "$file" "cannot be decoded: its header is cut off"
done
run convert wrapped
check "no reader yet: wrapped KTX" \
    bad_file wrapped "cannot be decoded: this version reads no QOZM-wrapped KTX files"
for file in pvr3 pvr2; do
    run convert "$file"
    check "no reader yet: $file" \
        bad_file "$file" "cannot be decoded: this version reads no PVR files"
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
no_pvr="this version reads no PVR files"
run info --json missing.astc a.astc pvr3
check "info --json with bad files" eval '[ "$rc" = 1 ] && valid_json'
check "their errors" eval 'contains "$out" "\"error\": \"no such file\"" &&
    contains "$out" "\"error\": \"cannot be decoded: $no_pvr\"" && contains "$out" "\"loads\": false"'
check "one line for each bad file" [ "$err" = \
    $'korutex: missing.astc: no such file\nkorutex: pvr3: cannot be decoded: '"$no_pvr"$'\n' ]
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

# --- KTX files ---

mkdir ktx
le32() { # le32 NUMBER...: escapes of little-endian words
    local number
    for number; do
        printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((number & 255)) $((number >> 8 & 255)) \
            $((number >> 16 & 255)) $((number >> 24 & 255))
    done
}
words() { bytes "$(le32 "$@")"; }
zeros() { head -c "$1" /dev/zero; }
# Names that begin with K are KTX 1.1, those with V are KTX 2.0.
# ktx1 TYPE TYPESIZE FORMAT INTERNALFORMAT WIDTH HEIGHT [DEPTH LAYERS FACES LEVELS PAIRBYTES]
ktx1() {
    bytes "\xabKTX 11\xbb\r\n\x1a\n\x01\x02\x03\x04"
    words "$1" "$2" "$3" "$4" 0 "$5" "$6" "${7:-0}" "${8:-0}" "${9:-1}" "${10:-1}" "${11:-0}"
}
blocks1() { ktx1 0 1 0 "$@"; } # blocks1 INTERNALFORMAT WIDTH HEIGHT ...: of a compressed format
# ktx2 VKFORMAT TYPESIZE WIDTH HEIGHT [SCHEME LEVELS PAIRBYTES DEPTH LAYERS FACES]
ktx2() {
    bytes "\xabKTX 20\xbb\r\n\x1a\n"
    words "$1" "$2" "$3" "$4" "${8:-0}" "${9:-0}" "${10:-1}" "${6:-1}" "${5:-0}" \
        0 0 0 "${7:-0}" 0 0 0 0
}
index2() { words "$1" 0 "$2" 0 "$2" 0; } # index2 OFFSET LENGTH: an entry of the level index
# file2 VKFORMAT TYPESIZE WIDTH HEIGHT LENGTH: all but the payload; no descriptor, no pairs
file2() {
    ktx2 "$1" "$2" "$3" "$4"
    index2 108 "$5"
    words 4
}
pair() { bytes "$(le32 $((${#1} + ${#2} + 2)))$1\x00$2\x00"; } # pair KEY VALUE
ppm() { bytes "P6\n$1\n255\n$2"; }                             # ppm SIZE BYTES
gl_byte=0x1401 gl_rgb=0x1907 gl_rgba=0x1908
gl_rgb8=0x8051 gl_rgba8=0x8058 gl_dxt1=0x83F1 gl_etc1=0x8D64 gl_astc_4x4=0x93B0
vk_rgba8=37 vk_astc_6x6=165

# The pictures.
make_card() { # make_card SIZE FOOTPRINT NAME SEED: NAME and its decoded NAME.ref.png
    "$testcard" "$1" card.png --seed "$4" &&
        "$astcenc" -cl card.png "$3" "$2" -fast -silent >/dev/null &&
        "$astcenc" -dl "$3" "$3.ref.png" -silent >/dev/null &&
        rm card.png
}
check "astcenc writes KTX" make_card 97x61 6x6 ktx/card.ktx 5
run convert ktx/card.ktx
check "KTX 1.1, ASTC blocks" good $'ktx/card.ktx -> ktx/card.png (97x61)\n'
check "its pixels" "$compare" ktx/card.png ktx/card.ktx.ref.png
cp ktx/card.ktx ktx/wrong.astc
run convert ktx/wrong.astc
check "content counts: KTX called .astc" same_bytes ktx/wrong.png ktx/card.png
{ file2 $vk_astc_6x6 1 96 60 2560 && tail -c +17 a.astc; } >ktx/a.ktx2
run convert ktx/a.ktx2
check "KTX 2.0, ASTC blocks" good $'ktx/a.ktx2 -> ktx/a.png (96x60)\n'
check "its pixels" "$compare" ktx/a.png a.ref.png
shown() { # shown NAME FILE SIZE BYTES: the picture has these bytes, R, G, B for each pixel
    ppm "$3" "$4" >ktx/expected.ppm
    run convert "ktx/$2" -o ktx/shown.ppm
    check "$1" eval '[ "$rc" = 0 ] && same_bytes ktx/shown.ppm ktx/expected.ppm'
}
{ ktx1 $gl_byte 1 $gl_rgb $gl_rgb8 1 2 && words 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } \
    >ktx/rgb8.ktx
shown "KTX 1.1, packed pixels: rows padded to 4 bytes" rgb8.ktx "1 2" '\x01\x02\x03\x04\x05\x06'
{ file2 $vk_rgba8 1 2 1 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } >ktx/rgba8.ktx2
shown "KTX 2.0, packed pixels" rgba8.ktx2 "2 1" '\x01\x02\x03\x04\x05\x06'
# Both end colors and an index of 0: the first color, red in 5:6:5.
{ blocks1 $gl_dxt1 2 1 && words 8 && bytes '\x00\xf8\x00\x00\x00\x00\x00\x00'; } >ktx/dxt1.ktx
shown "KTX 1.1, S3TC blocks" dxt1.ktx "2 1" '\xff\x00\x00\xff\x00\x00'
# Black base colors and an index of 0: the first modifier, 2.
{ blocks1 $gl_etc1 2 1 && words 8 && zeros 8; } >ktx/etc1.ktx
shown "KTX 1.1, ETC blocks" etc1.ktx "2 1" '\x02\x02\x02\x02\x02\x02'
{ blocks1 $gl_dxt1 1 1 0 0 6 && words 48 && bytes '\xe0\x07\x00\x00\x00\x00\x00\x00' &&
    zeros 40; } >ktx/cube.ktx
shown "the first face of a cube" cube.ktx "1 1" '\x00\xff\x00'

# What info says of files that load.
check_info() { # check_info NAME FILE TEXT...: these lines, then record, file and loads
    local name=$1 file=$2 lines
    shift 2
    lines=$(printf '  %s\n' "$@" "record     RGBA")
    run info "ktx/$file"
    check "info: $name" eval '[ "$rc" = 0 ] && [ -z "$err" ] &&
        contains "$out" "ktx/$file"$'\''\n'\''"$lines"'
}
check_info "KTX 1.1, ASTC blocks" card.ktx "container  KTX 1.1" "size       97 x 61" \
    "format     GL_COMPRESSED_RGBA_ASTC_6x6_KHR" "data       ASTC 6x6 blocks"
check_info "KTX 2.0, ASTC blocks" a.ktx2 "container  KTX 2.0" "size       96 x 60" \
    "format     VK_FORMAT_ASTC_6x6_UNORM_BLOCK (as GL_COMPRESSED_RGBA_ASTC_6x6_KHR)" \
    "data       ASTC 6x6 blocks"
check_info "KTX 1.1, packed pixels" rgb8.ktx "container  KTX 1.1" "size       1 x 2" \
    "format     GL_RGB8 (glType GL_UNSIGNED_BYTE, glFormat GL_RGB)" "data       packed pixels"
check_info "S3TC blocks" dxt1.ktx "container  KTX 1.1" "size       2 x 1" \
    "format     GL_COMPRESSED_RGBA_S3TC_DXT1_EXT" "data       S3TC blocks"
check_info "ETC blocks" etc1.ktx "container  KTX 1.1" "size       2 x 1" \
    "format     GL_ETC1_RGB8_OES" "data       ETC blocks"
check_info "a cube" cube.ktx "container  KTX 1.1" "size       1 x 1" \
    "format     GL_COMPRESSED_RGBA_S3TC_DXT1_EXT" "data       S3TC blocks" \
    "faces      6, the first is shown"
{ ktx1 0x8363 4 0x1907 $gl_rgba8 1 1 3 2 1 4 27 && pair KTXorientation 'S=r,T=d' && words 4 &&
    words 0 0 0 0; } >ktx/many.ktx
check_info "all the numbers" many.ktx "container  KTX 1.1" "size       1 x 1 x 3" \
    "format     GL_RGBA8 (glType 0x8363, glFormat GL_RGB)" "data       packed pixels" \
    "levels     4" "layers     2, the first is shown" "direction  S=r,T=d"
run info --json ktx/many.ktx
check "info --json of KTX 1.1" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
for field in '"container": "KTX 1.1"' '"width": 1' '"height": 1' '"depth": 3' '"levels": 4' \
    '"faces": 1' '"layers": 2' '"format": "GL_RGBA8"' '"glInternalFormat": 32856' \
    '"glType": 33635' '"glFormat": 6407' '"vkFormat": null' '"typeSize": 4' \
    '"supercompression": null' '"way": "packed pixels"' '"blockFootprint": null' \
    '"orientation": "S=r,T=d"' '"loads": true' '"error": null' '"warning": null'; do
    check "... $field" contains "$out" "$field"
done
keys() { sed -n 's/^    "\([A-Za-z0-9]*\)":.*/\1/p' "$logs/out"; }
ktx_keys=$(keys)
run info --json ktx/a.ktx2
check "info --json of KTX 2.0" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
for field in '"container": "KTX 2.0"' '"width": 96' '"depth": 0' '"levels": 1' \
    '"format": "VK_FORMAT_ASTC_6x6_UNORM_BLOCK"' '"glInternalFormat": 37812' '"glType": null' \
    '"vkFormat": 165' '"typeSize": 1' '"supercompression": "none"' '"way": "ASTC 6x6 blocks"' \
    '"blockFootprint": "6x6"' '"orientation": null'; do
    check "... $field" contains "$out" "$field"
done
for file in a.astc missing.astc pvr3; do
    run info --json "$file"
    check "info --json: the same keys for $file" [ "$(keys)" = "$ktx_keys" ]
done
check "info --json: some keys" [ "$(wc -w <<<"$ktx_keys")" -gt 10 ]

# Each rule that refuses a file, in its words.
refused() { # refused FILE REASON: standard input becomes the file
    local file=ktx/$1 reason="cannot be decoded: $2"
    cat >"$file"
    run convert "$file" -o never.png
    check "convert: $1" bad_file "$file" "$reason"
    run info "$file"
    check "info: $1" reported "$file" "$reason"
    run info --json "$file"
    check "info --json: $1" eval 'valid_json && contains "$out" "\"error\": \"$reason\""'
}
ktx1 0 1 0 $gl_etc1 1 1 | head -c 63 | refused K-header-cut "its header is cut off"
ktx2 $vk_rgba8 1 1 1 | head -c 79 | refused V-header-cut "its header is cut off"
{ bytes '\xabKTX 11\xbb\r\n\x1a\n\x04\x03\x02\x01' && zeros 48; } |
    refused K-big-endian "it is big-endian"
run info ktx/K-big-endian
check "info shows no numbers of a big-endian file" eval '! contains "$out" size'
{ bytes '\xabKTX 11\xbb\r\n\x1a\n\x04\x04\x04\x04' && zeros 48; } |
    refused K-no-endian "its endianness field names no byte order"
ktx1 0 0 0 $gl_etc1 8 8 | refused K-type-size "glTypeSize is 0, must be 1, 2 or 4"
run info ktx/K-type-size
check "info shows the numbers of a refused file" contains "$out" "  size       8 x 8
  format     GL_ETC1_RGB8_OES
  data       ETC blocks
  file       64 bytes
  loads      no
"
ktx2 $vk_rgba8 3 1 1 | refused V-type-size "typeSize is 3, must be 1, 2 or 4"
ktx1 0 1 0 $gl_etc1 4 0 | refused K-height "its size is 4 x 0"
ktx2 $vk_rgba8 1 0 4 | refused V-width "its size is 0 x 4"
ktx2 0 1 4 4 1 | refused V-undefined "its format is VK_FORMAT_UNDEFINED"
run info ktx/V-undefined
check "info names its supercompression" \
    eval 'contains "$out" "format     VK_FORMAT_UNDEFINED
  scheme     BasisLZ
"'
for scheme in 1:BasisLZ 2:Zstandard 3:ZLIB 9:9; do
    ktx2 $vk_rgba8 1 4 4 "${scheme%:*}" |
        refused "V-scheme-${scheme%:*}" "it is supercompressed (${scheme#*:})"
done
run info --json ktx/V-scheme-2
check "its name in JSON" contains "$out" '"supercompression": "Zstandard"'
{ ktx1 0 1 0 $gl_etc1 4 4 0 0 1 1 40 && pair KTXorientation rd | head -c 20; } |
    refused K-pair-cut "the file ends within its first key/value pair"
{ ktx2 $vk_rgba8 1 1 1 0 1 40 && index2 80 4 && words 4 36; } |
    refused V-pair-cut "the file ends within its first key/value pair"
{ blocks1 $gl_etc1 4 4 0 0 1 2 && words 8 && zeros 8; } |
    refused K-levels-cut "the file ends within its levels"
{ ktx2 $vk_rgba8 1 1 1 0 2 && index2 80 4; } |
    refused V-index-cut "the file ends within its level index"
{ ktx2 $vk_rgba8 1 1 1 && index2 80 4 && zeros 3; } |
    refused V-descriptor-cut "the file ends before its data format descriptor"
{ blocks1 $gl_etc1 4 4 && words 8 && zeros 5; } |
    refused K-level-cut "level 0 has 8 bytes, the file holds 5 of them"
{ ktx2 $vk_rgba8 1 2 2 && index2 4000 16 && words 4; } |
    refused V-level-cut "level 0 has 16 bytes, the file holds 0 of them"
{ ktx2 $vk_rgba8 1 2 2 && words 108 0 0 1 0 0 && words 4; } |
    refused V-level-long "level 0 has 4 GiB or more"
{ blocks1 0x83F0 4 4 && words 8 && zeros 8; } |
    refused K-dxt1-rgb "compressed format GL_COMPRESSED_RGB_S3TC_DXT1_EXT is not decoded"
{ blocks1 0x93C0 3 3 && words 16 && zeros 16; } |
    refused K-astc-3d "compressed format GL_COMPRESSED_RGBA_ASTC_3x3x3_OES is not decoded"
{ blocks1 0x1234 4 4 && words 8 && zeros 8; } |
    refused K-unknown "compressed format 0x1234 is not decoded"
{ file2 139 1 4 4 8 && zeros 8; } |
    refused V-bc4 "compressed format VK_FORMAT_BC4_UNORM_BLOCK is not decoded"
run info ktx/V-bc4
check "info names the GL format, too, and no way" contains "$out" \
    "  format     VK_FORMAT_BC4_UNORM_BLOCK (as GL_COMPRESSED_RED_RGTC1)
  file       116 bytes
"
{ ktx1 0x1406 4 0x1908 0x8814 1 1 && words 16 && zeros 16; } |
    refused K-float "uncompressed format GL_RGBA32F is not decoded"
{ file2 9 1 4 1 4 && zeros 4; } |
    refused V-r8 "uncompressed format VK_FORMAT_R8_UNORM is not decoded"
{ file2 44 1 1 1 4 && zeros 4; } |
    refused V-bgra8 "uncompressed format VK_FORMAT_B8G8R8A8_UNORM is not decoded"
{ file2 1000288000 1 1 1 16 && zeros 16; } | refused V-unknown "format 1000288000 is not decoded"
{ ktx1 0 1 $gl_rgba $gl_rgba8 1 1 && words 4 && zeros 4; } |
    refused K-type-0 "glType 0 means compressed, but GL_RGBA8 is not"
{ ktx1 $gl_byte 1 0 $gl_rgba8 1 1 && words 4 && zeros 4; } |
    refused K-format-0 "glFormat 0 means compressed, but GL_RGBA8 is not"
{ ktx1 0x8363 2 $gl_rgb 0x8D62 4 4 && words 32 && zeros 32; } |
    refused K-rgb565 "level 0 holds 32 bytes, the size test asks for 48"
{ file2 23 1 5 1 15 && zeros 15; } |
    refused V-unpadded "level 0 holds 15 bytes, the size test asks for 16"
ktx1 $gl_byte 1 $gl_rgba $gl_rgba8 2 2 0 0 0 0 |
    refused K-no-level "level 0 holds 0 bytes, the size test asks for 16"
{ blocks1 $gl_dxt1 5 4 && words 8 && zeros 8; } |
    refused K-dxt1-short "level 0 holds 8 bytes of blocks, needs 16"
{ file2 151 1 4 4 15 && zeros 15; } |
    refused V-etc2-short "level 0 holds 15 bytes of blocks, needs 16"
{ blocks1 $gl_etc1 65536 65536 && words 0; } | refused K-large "its image takes 4 GiB or more"
{ blocks1 $gl_astc_4x4 65536 65536 && words 16 && zeros 16; } |
    refused K-astc-large "its image takes 4 GiB or more"
check "no output of a refused file" [ ! -e never.png ]

# What is odd about files that load. Standard input becomes the file; SIZE and BYTES are those of
# ppm, empty BYTES are not compared.
warned() { # warned FILE SIZE BYTES WARNING...
    local file=ktx/$1 size=$2 pixels=$3 warnings='' joined='' text json=null
    cat >"$file"
    shift 3
    for text; do
        warnings+="korutex: $file: warning: $text"$'\n'
        joined+="${joined:+; }$text"
    done
    [ -z "$joined" ] || json="\"$joined\""
    ppm "$size" "$pixels" >ktx/expected.ppm
    run convert "$file" -o ktx/shown.ppm
    check "convert warns of $# oddities: $file" \
        result 0 "$file -> ktx/shown.ppm (${size/ /x})"$'\n' "$warnings"
    [ -z "$pixels" ] || check "its picture" same_bytes ktx/shown.ppm ktx/expected.ppm
    run info "$file"
    check "info warns, too" \
        eval '[ "$rc" = 0 ] && [ "$err" = "$warnings" ] && contains "$out" "loads      yes"'
    run info --json "$file"
    check "info --json warns, too" eval '[ "$rc" = 0 ] && [ "$err" = "$warnings" ] && valid_json &&
        contains "$out" "\"warning\": $json"'
}
black() { printf '\\x00%.0s' $(seq "$(($1 * 3))"); } # black PIXELS
sheared="are sheared unless their width is a multiple of 4"
means_nothing="the picture means nothing"
is_black="the picture is black"
{ blocks1 $gl_etc1 5 5 && words 32 && zeros 32; } |
    warned K-etc1-5 "5 5" "" "pictures of GL_ETC1_RGB8_OES $sheared"
{ blocks1 $gl_etc1 5 1 && words 16 && zeros 16; } |
    warned K-etc1-row "5 1" '\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02\x02'
{ blocks1 $gl_etc1 8 5 && words 32 && zeros 32; } | warned K-etc1-8 "8 5" ""
{ blocks1 0x9274 6 2 && words 16 && zeros 16; } |
    warned K-etc2-6 "6 2" "" "pictures of GL_COMPRESSED_RGB8_ETC2 $sheared"
{ blocks1 0x9278 5 5 && words 64 && zeros 64; } | warned K-etc2-rgba-5 "5 5" ""
{ file2 148 1 7 2 16 && zeros 16; } |
    warned V-etc2-7 "7 2" "" "pictures of VK_FORMAT_ETC2_R8G8B8_SRGB_BLOCK $sheared"
{ blocks1 0x8C4C 5 5 && words 32 && zeros 32; } |
    warned K-dxt1-srgb-5 "5 5" "" "pictures of GL_COMPRESSED_SRGB_S3TC_DXT1_EXT $sheared"
{ blocks1 $gl_dxt1 5 5 && words 32 && zeros 32; } | warned K-dxt1-5 "5 5" "$(black 25)"
samples="16-bit samples are shown as they are"
{ blocks1 0x9270 4 4 && words 8 && zeros 8; } | warned K-r11 "4 4" "" \
    "the bytes of GL_COMPRESSED_R11_EAC's $samples; $means_nothing"
{ file2 154 1 4 4 8 && zeros 8; } | warned V-signed-r11 "4 4" "" \
    "the bytes of VK_FORMAT_EAC_R11_SNORM_BLOCK's $samples; $means_nothing"
{ blocks1 0x9272 4 4 && words 16 && zeros 16; } | warned K-rg11 "4 4" "$(black 16)" \
    "GL_COMPRESSED_RG11_EAC has no conversion to RGB; $is_black"
{ blocks1 0x9273 4 4 && words 16 && zeros 16; } | warned K-signed-rg11 "4 4" "$(black 16)" \
    "GL_COMPRESSED_SIGNED_RG11_EAC has no conversion to RGB; $is_black"
{ blocks1 $gl_etc1 4 1 && words 0; } |
    warned K-etc1-empty "4 1" "$(black 4)" "level 0 is empty; $is_black"
{ file2 151 1 4 1 0; } | warned V-etc2-empty "4 1" "$(black 4)" "level 0 is empty; $is_black"
{ blocks1 $gl_astc_4x4 8 4 && words 31 && zeros 31; } | warned K-astc-short "8 4" "$(black 32)" \
    "level 0 holds 31 bytes of blocks, needs 32; $is_black"
{ file2 $vk_astc_6x6 1 6 7 0; } | warned V-astc-empty "6 7" "$(black 42)" \
    "level 0 holds 0 bytes of blocks, needs 32; $is_black"
{ ktx1 $gl_byte 1 0x190A 0x190A 2 1 && words 4 && bytes '\xff\xff\xff\xff'; } |
    warned K-luminance-alpha "2 1" "$(black 2)" \
        "GL_LUMINANCE_ALPHA has no conversion to RGB; $is_black"
{ ktx1 0x8368 4 $gl_rgba 0x8059 1 1 && words 4 && zeros 4; } | warned K-rgb10 "1 1" "" \
    "the channels of GL_RGB10_A2 are not scaled to 8 bits; the colors are wrong"
{ file2 123 4 1 1 4 && zeros 4; } | warned V-rgb9e5 "1 1" "" \
    "the channels of VK_FORMAT_E5B9G9R9_UFLOAT_PACK32 are not scaled to 8 bits; the colors are wrong"
{ ktx1 $gl_byte 1 0x80E1 $gl_rgba8 1 1 && words 4 && bytes '\x01\x02\x03\xff'; } |
    warned K-bgra "1 1" '\x01\x02\x03' \
        "its pixels are stored as B, G, R; red and blue are swapped"
{ ktx1 $gl_byte 1 $gl_rgba $gl_dxt1 2 1 && words 8 && bytes '\x01\x02\x03\x04\x05\x06\x07\x08'; } |
    warned K-blocks-as-pixels "2 1" '\x01\x02\x03\x05\x06\x07' \
        "glType and glFormat are not 0, so the blocks of GL_COMPRESSED_RGBA_S3TC_DXT1_EXT are shown as pixels; $means_nothing"
upside="; the picture is upside down"
turned1() { # turned1 VALUE: two pixels above each other, with an orientation
    ktx1 $gl_byte 1 $gl_rgba $gl_rgba8 1 2 0 0 1 1 $((20 + ${#1}))
    pair KTXorientation "$1"
    words 8
    bytes '\x01\x02\x03\xff\x04\x05\x06\xff'
}
in_file_order='\x01\x02\x03\x04\x05\x06'
turned1 'S=r,T=u' |
    warned K-upwards "1 2" "$in_file_order" "its rows run upwards (S=r,T=u)$upside"
turned1 'S=r,T=d' | warned K-downwards "1 2" "$in_file_order"
turned1 $'S=r\a\n,T=u' >ktx/K-control
run info ktx/K-control
check "an orientation that would steer a terminal" eval 'contains "$out" "direction  S=r" &&
    contains "$err" "upwards (S=r" && [ "$(wc -l <"$logs/err")" = 1 ] &&
    ! contains "$out$err" $'\''\a'\'''
turned2() { # turned2 VKFORMAT WIDTH HEIGHT VALUE: with blocks of 0
    ktx2 "$1" 1 "$2" "$3" 0 1 $((20 + ${#4}))
    index2 $((128 + ${#4})) 32
    words 4
    pair KTXorientation "$4"
    zeros 32
}
turned2 137 4 1 ru | warned V-upwards "4 1" "$(black 4)" "its rows run upwards (ru)$upside"
turned2 137 4 1 rd | warned V-downwards "4 1" "$(black 4)"
turned2 147 5 3 ru | warned V-both "5 3" "" \
    "pictures of VK_FORMAT_ETC2_R8G8B8_UNORM_BLOCK $sheared" "its rows run upwards (ru)$upside"
turned2 155 4 2 ru | warned V-black "4 2" "$(black 8)" \
    "VK_FORMAT_EAC_R11G11_UNORM_BLOCK has no conversion to RGB; $is_black"

# Lists of all kinds.
cp ktx/a.ktx2 ktx/b.ktx2
mixed=(a.astc ktx/card.ktx ktx/V-both ktx/K-float ktx/b.ktx2 text.astc ktx/K-rg11 ktx/rgba8.ktx2)
run convert "${mixed[@]}" -o ktx/serial
check "a mixed list" result 1 'a.astc -> ktx/serial/a.png (96x60)
ktx/card.ktx -> ktx/serial/card.png (97x61)
ktx/V-both -> ktx/serial/V-both.png (5x3)
ktx/b.ktx2 -> ktx/serial/b.png (96x60)
ktx/K-rg11 -> ktx/serial/K-rg11.png (4x4)
ktx/rgba8.ktx2 -> ktx/serial/rgba8.png (2x1)
6 converted, 2 failed
' "korutex: ktx/V-both: warning: pictures of VK_FORMAT_ETC2_R8G8B8_UNORM_BLOCK $sheared
korutex: ktx/V-both: warning: its rows run upwards (ru)$upside
korutex: ktx/K-float: cannot be decoded: uncompressed format GL_RGBA32F is not decoded
korutex: text.astc: is not an ASTC, KTX or PVR file
korutex: ktx/K-rg11: warning: GL_COMPRESSED_RG11_EAC has no conversion to RGB; $is_black
"
check "its pixels" eval 'same_bytes ktx/serial/a.png a.png && same_bytes ktx/serial/b.png a.png &&
    same_bytes ktx/serial/card.png ktx/card.png'
serial_out=$out
serial_err=$err
for jobs in 3 8; do
    run convert "${mixed[@]}" -o "ktx/parallel" -j "$jobs"
    check "-j $jobs says the same" result 1 "${serial_out//serial/parallel}" "$serial_err"
    check "-j $jobs writes the same" diff -r ktx/serial ktx/parallel
done
run convert ktx/a.ktx2 a.astc -o ktx/collide
check "KTX and ASTC of one name" usage_error "both be written to"

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
