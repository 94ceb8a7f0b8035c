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
check "--help names what it reads" contains "$out" "(ASTC, KTX, PVR)"
help=$out
run
check "no arguments: help, exit code 2" result 2 "$help" ""
run convert --help
check "convert --help" eval '[ "$rc" = 0 ] && contains "$out" --rgb && contains "$out" --jobs'
check "it tells of all outputs" eval 'contains "$out" "  .ktx " && contains "$out" "  .pvr " &&
    contains "$out" ".astc      fails" && contains "$out" --to'
check "it tells when a path is an output" contains "$out" "a file that exists is always an input"
check "examples of all that loads" \
    eval 'for ending in .astc .ktx .ktx2 .pvr .png; do
        contains "$help" "$ending" && contains "$out" "$ending" || exit 1
    done'
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
for ending in .png folder/.tga .PPM .ktx; do
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
check "unknown picture format" usage_error ".png, .ppm, .tga, .ktx or .pvr"
run convert a.astc b.astc -o both.png
check "one picture for two inputs" usage_error "more than one input"
run convert a.astc b.astc -o both.ktx
check "one texture for two inputs" usage_error "more than one input"
run convert a.astc --to jpg
check "--to an unknown format" usage_error "--to"
run convert a.astc --to ktx -o a.png
check "--to and an output of another format" usage_error "does not end in .ktx"
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
for file in ktx1 ktx2 wrapped pvr3 pvr2; do
    run convert "$file"
    check "$file: nothing but an identifier" \
        bad_file "$file" "cannot be decoded: its header is cut off"
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
run info --json missing.astc a.astc pvr3
check "info --json with bad files" eval '[ "$rc" = 1 ] && valid_json'
check "their errors" eval 'contains "$out" "\"error\": \"no such file\"" &&
    contains "$out" "\"error\": \"cannot be decoded: its header is cut off\"" && contains "$out" "\"loads\": false"'
check "one line for each bad file" [ "$err" = \
    $'korutex: missing.astc: no such file\nkorutex: pvr3: cannot be decoded: its header is cut off\n' ]
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
bad_input "another content" text.astc "is not an ASTC, KTX, PVR or PNG file"
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
    "${odd3_warning}korutex: text.astc: is not an ASTC, KTX, PVR or PNG file"$'\n'"$odd2_warning"

# --- KTX files ---

mkdir ktx
made=ktx # where the functions below make their files
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
    ppm "$3" "$4" >expected.ppm
    run convert "$made/$2" -o shown.ppm
    check "$1" eval '[ "$rc" = 0 ] && [ -z "$err" ] && same_bytes shown.ppm expected.ppm'
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
    run info "$made/$file"
    check "info: $name" eval '[ "$rc" = 0 ] && [ -z "$err" ] &&
        contains "$out" "$made/$file"$'\''\n'\''"$lines"'
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
for file in a.astc missing.astc pvr3 wrapped a.png; do
    run info --json "$file"
    check "info --json: the same keys for $file" [ "$(keys)" = "$ktx_keys" ]
done
check "info --json: some keys" [ "$(wc -w <<<"$ktx_keys")" -gt 10 ]

# Each rule that refuses a file, in its words.
refused() { # refused FILE REASON: standard input becomes the file
    local file=$made/$1 reason="cannot be decoded: $2"
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
    local file=$made/$1 size=$2 pixels=$3 warnings='' joined='' text json=null
    cat >"$file"
    shift 3
    for text; do
        warnings+="korutex: $file: warning: $text"$'\n'
        joined+="${joined:+; }$text"
    done
    [ -z "$joined" ] || json="\"$joined\""
    ppm "$size" "$pixels" >expected.ppm
    run convert "$file" -o shown.ppm
    check "convert warns of $# oddities: $file" \
        result 0 "$file -> shown.ppm (${size/ /x})"$'\n' "$warnings"
    [ -z "$pixels" ] || check "its picture" same_bytes shown.ppm expected.ppm
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
korutex: text.astc: is not an ASTC, KTX, PVR or PNG file
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

# --- PVR files ---

mkdir pvr
made=pvr
# Names that begin with L are of legacy files, those with P of version 3.
# legacy TYPE WIDTH HEIGHT DATABYTES [FLAGS MIPMAPS SURFACES]
legacy() {
    words 52 "$3" "$2" "${6:-0}" $(($1 | ${5:-0})) "$4" 32 0 0 0 0
    bytes 'PVR!'
    words "${7:-1}"
}
# pvr FORMAT WIDTH HEIGHT [METADATABYTES MIPMAPS FACES SURFACES DEPTH TYPE SPACE FLAGS]; FORMAT is
# escapes of 8 bytes
pvr() {
    bytes "PVR\x03$(le32 "${11:-0}")$1"
    words "${10:-0}" "${9:-0}" "$3" "$2" "${8:-1}" "${7:-1}" "${6:-1}" "${5:-1}" "${4:-0}"
}
number() { le32 "$1" 0; } # number FORMAT: a compressed format
own='PVR\x03'             # the owner of the metadata keys
rgba8='rgba\x08\x08\x08\x08' rgb8='rgb\x00\x08\x08\x08\x00'
red_dxt='\x00\xf8\x00\x00\x00\x00\x00\x00'
# Both colors are opaque red in 5:5:4 and 5:5:5, so that no modulation changes them.
red_pvrtc='\x00\x00\x00\x00\x00\xfc\x00\xfc'
red() { printf '\\xff\\x00\\x00%.0s' $(seq "$1"); } # red PIXELS

{ legacy 18 1 2 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\x80'; } >pvr/L-rgba
shown "legacy RGBA8888" L-rgba "1 2" '\x01\x02\x03\x04\x05\x06'
{ ktx1 $gl_byte 1 $gl_rgba $gl_rgba8 1 2 && words 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\x80'; } \
    >pvr/same.ktx
run convert pvr/L-rgba pvr/same.ktx -o pvr/alpha
check "its alpha" same_bytes pvr/alpha/L-rgba.png pvr/alpha/same.png
{ legacy 21 1 2 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } >pvr/L-rgb
shown "legacy RGB888: rows padded to 4 bytes" L-rgb "1 2" '\x01\x02\x03\x04\x05\x06'
{ legacy 32 2 1 8 && bytes "$red_dxt"; } >pvr/L-dxt1
shown "legacy DXT1" L-dxt1 "2 1" "$(red 2)"
{ legacy 34 2 1 16 && bytes "\xff\xff\xff\xff\xff\xff\xff\xff$red_dxt"; } >pvr/L-dxt3
shown "legacy DXT3" L-dxt3 "2 1" "$(red 2)"
{ legacy 36 2 1 16 && bytes "\xff\xff\x00\x00\x00\x00\x00\x00$red_dxt"; } >pvr/L-dxt5
shown "legacy DXT5" L-dxt5 "2 1" "$(red 2)"
{ legacy 54 2 1 8 && zeros 8; } >pvr/L-etc1
shown "legacy ETC1" L-etc1 "2 1" '\x02\x02\x02\x02\x02\x02'
{ legacy 25 8 8 32 && bytes "$red_pvrtc$red_pvrtc$red_pvrtc$red_pvrtc"; } >pvr/L-pvrtc4
shown "legacy PVRTC, 4 bits per pixel" L-pvrtc4 "8 8" "$(red 64)"
{ legacy 24 16 8 32 && bytes "$red_pvrtc$red_pvrtc$red_pvrtc$red_pvrtc"; } >pvr/L-pvrtc2
shown "legacy PVRTC, 2 bits per pixel" L-pvrtc2 "16 8" "$(red 128)"
{ pvr "$rgba8" 2 1 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } >pvr/P-rgba
shown "version 3, RGBA8888" P-rgba "2 1" '\x01\x02\x03\x04\x05\x06'
{ pvr "$rgb8" 4 1 && bytes '\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c'; } >pvr/P-rgb
shown "version 3, RGB888" P-rgb "4 1" '\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c'
{ pvr "$(number 6)" 2 1 && zeros 8; } >pvr/P-etc1
shown "version 3, ETC1" P-etc1 "2 1" '\x02\x02\x02\x02\x02\x02'
{ pvr "$(number 7)" 2 1 && bytes "$red_dxt"; } >pvr/P-dxt1
shown "version 3, DXT1" P-dxt1 "2 1" "$(red 2)"
{ pvr "$(number 9)" 2 1 && bytes "\xff\xff\xff\xff\xff\xff\xff\xff$red_dxt"; } >pvr/P-dxt3
shown "version 3, DXT3" P-dxt3 "2 1" "$(red 2)"
{ pvr "$(number 11)" 2 1 && bytes "\xff\xff\x00\x00\x00\x00\x00\x00$red_dxt"; } >pvr/P-dxt5
shown "version 3, DXT5" P-dxt5 "2 1" "$(red 2)"
for format in 0 1 2 3; do
    { pvr "$(number $format)" 16 16 &&
        for i in {1..16}; do bytes "$red_pvrtc"; done; } >pvr/P-pvrtc
    shown "version 3, PVRTC $format" P-pvrtc "16 16" "$(red 256)"
done
{ pvr "$rgba8" 1 1 20 && zeros 20 && bytes '\x01\x02\x03\xff'; } >pvr/P-metadata
shown "metadata is stepped over" P-metadata "1 1" '\x01\x02\x03'

# Pixels without alpha do not get any from an earlier file.
{ pvr 'r\x00\x00\x00\x08\x08\x08\x08' 1 1 && bytes '\x01\x02\x03\x80'; } >pvr/P-stray
run convert pvr/P-stray -o pvr/alone.png
run convert pvr/P-rgba pvr/P-stray -o pvr/after
check "the files before do not count" same_bytes pvr/after/P-stray.png pvr/alone.png

check_info "legacy, packed pixels" L-rgba "container  PVR legacy" "size       1 x 2" \
    "format     0x12 (RGBA8888)" "data       packed pixels" "payload    8 bytes" "flags      0x12"
check_info "legacy, PVRTC blocks" L-pvrtc4 "container  PVR legacy" "size       8 x 8" \
    "format     0x19 (PVRTC 4 bpp)" "data       PVRTC blocks" "payload    32 bytes" \
    "flags      0x19"
check_info "version 3, packed pixels" P-rgb "container  PVR version 3" "size       4 x 1" \
    "format     rgb 8,8,8" "channels   unsigned byte, normalized" "colors     linear" \
    "data       packed pixels" "payload    12 bytes"
check_info "version 3, S3TC blocks" P-dxt1 "container  PVR version 3" "size       2 x 1" \
    "format     7 (DXT1)" "channels   unsigned byte, normalized" "colors     linear" \
    "data       S3TC blocks" "payload    8 bytes"
{ legacy 54 4 4 50 0x8100 2 6 && zeros 50; } >pvr/L-many
check_info "all numbers of a legacy file" L-many "container  PVR legacy" "size       4 x 4" \
    "format     0x36 (ETC1)" "data       ETC blocks" "payload    50 bytes" "levels     3" \
    "surfaces   6, the first is shown" "flags      0x8136"
run info --json pvr/L-many
check "info --json of a legacy file" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
check "the same keys" [ "$(keys)" = "$ktx_keys" ]
for field in '"container": "PVR legacy"' '"width": 4' '"height": 4' '"depth": null' '"levels": 3' \
    '"faces": null' '"layers": 6' '"format": "0x36 (ETC1)"' '"way": "ETC blocks"' \
    '"orientation": null' '"flags": 33078' '"mipMapCount": 2' '"dataSize": 50' '"pixelType": 54' \
    '"formatNumber": null' '"name": "ETC1"' '"channelNames": null' '"colorSpace": null' \
    '"metadataKey": null' '"wrappers": null' '"inside": null' '"loads": true' '"error": null'; do
    check "... $field" contains "$out" "$field"
done
pvr_keys() { sed -n 's/^      "\([A-Za-z0-9]*\)":.*/\1/p' "$logs/out"; }
legacy_keys=$(pvr_keys)
{ pvr "$(number 22)" 4 4 15 3 6 2 1 12 1 2 && bytes "$own" && words 3 3 && zeros 3 &&
    zeros 8; } >pvr/P-many
check_info "all numbers of a version-3 file" P-many "container  PVR version 3" "size       4 x 4" \
    "format     22 (ETC2 RGB)" "channels   float" "colors     sRGB" "data       ETC blocks" \
    "payload    8 bytes" "levels     3" "faces      6, the first is shown" \
    "surfaces   2, the first is shown" "flags      0x2" \
    "metadata   15 bytes, the first key is 3 (orientation)"
run info --json pvr/P-many
check "info --json of version 3" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
check "the same keys" [ "$(keys)" = "$ktx_keys" ]
check "the same keys of PVR" [ "$(pvr_keys)" = "$legacy_keys" ]
for field in '"container": "PVR version 3"' '"depth": 1' '"levels": 3' '"faces": 6' '"layers": 2' \
    '"format": "22 (ETC2 RGB)"' '"flags": 2' '"pixelType": null' '"formatNumber": 22' \
    '"name": "ETC2 RGB"' '"channelType": "float"' '"colorSpace": "sRGB"' '"metadataSize": 15' \
    '"metadataKey": 3'; do
    check "... $field" contains "$out" "$field"
done
run info --json pvr/P-rgb
check "info --json of channels" eval 'contains "$out" "\"channelNames\": \"rgb\"" &&
    contains "$(tr -d "\n " <"$logs/out")" "\"channelWidths\":[8,8,8,0]"'

legacy 18 1 1 4 | head -c 51 | refused L-header-cut "its header is cut off"
legacy 18 4 4 0 | refused L-no-data "its data size is 0"
{ legacy 18 0 4 4 && zeros 4; } | refused L-width "its size is 0 x 4"
{ legacy 18 4 0 4 && zeros 4; } | refused L-height "its size is 4 x 0"
{ legacy 18 2 1 8 && zeros 7; } |
    refused L-data-cut "its data has 8 bytes, the file holds 7 of them"
{ legacy 0x17 4 4 32 && zeros 32; } |
    refused L-ai88 "legacy pixel type 0x17 (AI88) is not decoded"
{ legacy 0x13 4 4 99 && zeros 99; } |
    refused L-rgb565 "legacy pixel type 0x13 (RGB565) is not decoded"
{ legacy 0x0C 8 8 32 && zeros 32; } |
    refused L-mgl "legacy pixel type 0x0C (PVRTC 2 bpp) is not decoded"
{ legacy 14 4 4 64 && zeros 64; } | refused L-unknown "legacy pixel type 0x0E is not decoded"
{ legacy 21 5 2 30 && zeros 30; } |
    refused L-unpadded "its data has 30 bytes, the size test asks for 32"
{ legacy 32 5 4 15 && zeros 15; } | refused L-short "its data has 15 bytes of blocks, needs 16"
{ legacy 25 8 8 31 && zeros 31; } |
    refused L-pvrtc-short "its data has 31 bytes of blocks, needs 32"
{ legacy 18 65536 65536 4 && zeros 4; } | refused L-large "its image takes 4 GiB or more"
pvr "$rgba8" 1 1 | head -c 51 | refused P-header-cut "its header is cut off"
{ pvr "$rgba8" 1 1 30 && zeros 11; } |
    refused P-metadata-cut "the file ends within its first metadata entry"
{ pvr "$rgba8" 1 1 15 && bytes "$own" && words 3 3 && zeros 2; } |
    refused P-orientation-cut "the file ends within its first metadata entry"
{ pvr "$rgba8" 0 1 && zeros 4; } | refused P-width "its size is 0 x 1"
{ pvr "$(number 6)" 4 0 && zeros 8; } | refused P-height "its size is 4 x 0"
{ pvr "$(number 5)" 8 8 && zeros 32; } |
    refused P-pvrtc2 "compressed format 5 (PVRTC-II 4 bpp) is not decoded"
{ pvr "$(number 27)" 4 4 && zeros 16; } |
    refused P-astc "compressed format 27 (ASTC 4x4) is not decoded"
{ pvr "$(number 777)" 4 4 && zeros 16; } | refused P-unknown "compressed format 777 is not decoded"
{ pvr 'la\x00\x00\x08\x08\x00\x00' 2 2 && zeros 8; } |
    refused P-la "channel names 'la' have no channel count"
{ pvr '\x00\x00\x00\x00\x08\x08\x08\x08' 2 2 && zeros 16; } |
    refused P-no-names "channel names '' have no channel count"
{ pvr 'rgba\x04\x04\x04\x04' 4 2 && zeros 16; } |
    refused P-rgba4 "its data has 16 bytes, the size test asks for 32"
pvr "$rgba8" 4 2 | refused P-no-data "its data has 0 bytes, the size test asks for 32"
{ pvr "$(number 23)" 4 4 && zeros 15; } |
    refused P-etc2-short "its data has 15 bytes of blocks, needs 16"
pvr "$(number 6)" 65536 65536 | refused P-large "its image takes 4 GiB or more"
run info pvr/P-la
check "info shows the numbers of a refused file" contains "$out" "  size       2 x 2
  format     la 8,8
  channels   unsigned byte, normalized
  colors     linear
  payload    8 bytes
  file       60 bytes
  loads      no
"
{ pvr '\x1bg\x00\x00\x08\x08\x00\x00' 2 2 && zeros 8; } >pvr/P-control
run info pvr/P-control
check "channel names that would steer a terminal" eval 'contains "$err" "x1Bg'\'' have" &&
    ! contains "$out$err" $'\''\e'\'''
run convert pvr/L-dxt1 pvr/L-unknown -o pvr/after
blocks_first=$err
run convert pvr/L-rgba pvr/L-unknown -o pvr/after
check "an unknown type after blocks and after pixels" [ "$err" = "$blocks_first" ]

pvr "$(number 6)" 4 1 | warned P-etc1-empty "4 1" "$(black 4)" "it has no data; $is_black"
{ pvr "$(number 6)" 4 1 99 && zeros 60; } |
    warned P-metadata-long "4 1" "$(black 4)" "it has no data; $is_black"
{ pvr "$(number 25)" 4 1 && zeros 8; } |
    warned P-r11 "4 1" "$(black 4)" "25 (EAC R11) has no conversion to RGB; $is_black"
{ pvr "$(number 26)" 4 1 && zeros 16; } |
    warned P-rg11 "4 1" "$(black 4)" "26 (EAC RG11) has no conversion to RGB; $is_black"
{ pvr 'rgba\x10\x10\x10\x10' 2 1 && bytes '\xff\xff\xff\xff\xff\xff\xff\xff' && zeros 8; } |
    warned P-rgba16 "2 1" "$(black 2)" \
        "rgba 16,16,16,16 has no conversion to RGB; $is_black"
{ pvr 'l\x00\x00\x00\x08\x00\x00\x00' 4 1 && bytes '\xff\xff\xff\xff'; } |
    warned P-l8 "4 1" "$(black 4)" "l 8 has no conversion to RGB; $is_black"
{ pvr 'r\x00\x00\x00\x08\x08\x08\x08' 4 1 && bytes '\x01\x02\x03\x04\x05\x06\x07\x08'; } |
    warned P-missing "4 1" '\x01\x02\x03\x05\x06\x07\x00\x00\x00\x00\x00\x00' \
        "its data has 8 bytes, too few for all pixels; the rest is black"
{ legacy 25 6 8 32 && zeros 32; } | warned L-pvrtc-6 "6 8" "" \
    "PVRTC is for sizes that are powers of two; the picture is wrong"
{ pvr "$(number 6)" 5 5 && zeros 32; } | warned P-etc1-5 "5 5" "" "pictures of 6 (ETC1) $sheared"
{ legacy 32 5 5 32 && zeros 32; } | warned L-dxt1-5 "5 5" "" "pictures of 0x20 (DXT1) $sheared"
{ pvr "$(number 23)" 5 5 && zeros 64; } | warned P-etc2-rgba-5 "5 5" ""
padded="its rows are read as if they were padded to 4 bytes; if they are not, the picture is sheared"
{ pvr "$rgb8" 1 2 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } |
    warned P-padded "1 2" '\x01\x02\x03\x04\x05\x06'
{ pvr "$rgb8" 1 2 && bytes '\x01\x02\x03\x04\x05\x06\x07\x08\x09'; } |
    warned P-packed "1 2" '\x01\x02\x03\x05\x06\x07' "$padded"
{ pvr "$(number 7)" 2 1 && bytes '\x00\x00\x00\x00\xff\xff\xff\xff'; } |
    warned P-dxt1-clear "2 1" '\xff\xff\xff\xff\xff\xff' \
        "DXT1 is decoded without alpha; its transparent pixels are white"
{ pvr "$(number 7)" 2 1 && bytes '\x00\xf8\x00\x00\xff\xff\xff\xff'; } | warned P-dxt1-four "2 1" ""
{ pvr 'rgb\x00\x0b\x0b\x0a\x00' 1 1 && bytes '\x01\x02\x03\x04'; } |
    warned P-float "1 1" '\x01\x02\x03' \
        "the bytes of rgb 11,11,10 floats are shown as they are; $means_nothing"
{ pvr 'rgba\x0a\x0a\x0a\x02' 1 1 && zeros 4; } | warned P-rgb10 "1 1" "" \
    "the channels of rgba 10,10,10,2 are not scaled to 8 bits; the colors are wrong"
swapped="its pixels are stored as B, G, R; red and blue are swapped"
{ pvr 'bgra\x08\x08\x08\x08' 1 1 && bytes '\x01\x02\x03\xff'; } |
    warned P-bgra "1 1" '\x01\x02\x03' "$swapped"
{ pvr 'bgr\x00\x08\x08\x08\x00' 1 1 && bytes '\x01\x02\x03\xff'; } |
    warned P-bgr "1 1" '\x01\x02\x03' "$swapped"
{ pvr 'rgbx\x08\x08\x08\x08' 1 1 && bytes '\x01\x02\x03\xff'; } |
    warned P-rgbx "1 1" '\x01\x02\x03' "its unused channel x is taken for alpha"
upwards="its rows run upwards; the picture is upside down"
{ legacy 18 1 2 8 0x10000 && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } |
    warned L-upwards "1 2" "$in_file_order" "$upwards"
check "info names the direction" contains "$(tr -d '\n' <"$logs/out")" '"orientation": "up"'
turned3() { # turned3 AXISBYTES: two pixels above each other, with an orientation
    pvr "$rgba8" 1 2 15 && bytes "$own" && words 3 3 && bytes "$1" &&
        bytes '\x01\x02\x03\xff\x04\x05\x06\xff'
}
turned3 '\x00\x01\x00' | warned P-upwards "1 2" "$in_file_order" "$upwards"
turned3 '\x01\x00\x01' | warned P-downwards "1 2" "$in_file_order"
{ pvr "$rgba8" 1 2 28 && bytes "$own" && words 6 1 && zeros 1 && bytes "$own" && words 3 3 &&
    bytes '\x00\x01\x00' && bytes '\x01\x02\x03\xff\x04\x05\x06\xff'; } |
    warned P-second-entry "1 2" "$in_file_order"
{ pvr "$(number 6)" 4 1 15 && bytes "$own" && words 3 3 && bytes '\x00\x01\x00'; } |
    warned P-black-upwards "4 1" "$(black 4)" "it has no data; $is_black"

# --- wrapped KTX files ---

mkdir wrap
made=wrap
# wrapper CHUNKS: all but the chunks
wrapper() { bytes QOZM && words $(($1 + 1)) && zeros $((8 * ($1 + 1))); }
# chunk FILE OFFSET LENGTH: a part of the file as an LZ4 block of literals alone
chunk() {
    local token=\\xf0 more=$(($3 - 15))
    if [ "$more" -lt 0 ]; then
        token=$(printf '\\x%02x' $(($3 << 4)))
    else
        while [ "$more" -ge 255 ]; do token+=\\xff more=$((more - 255)); done
        token+=$(printf '\\x%02x' "$more")
    fi
    bytes 'padA 4zL'
    words $((${#token} / 4 + $3)) "$3" 0 0 0 0
    bytes "$token"
    tail -c +$(($2 + 1)) "$1" | head -c "$3"
}
size_of() { stat -c %s "$1"; }
wrap() { wrapper 1 && chunk "$1" 0 "$(size_of "$1")"; } # wrap FILE
wrap ktx/card.ktx >wrap/card
run convert wrap/card
check "a wrapped file" good $'wrap/card -> wrap/card.png (97x61)\n'
check "its pixels" same_bytes wrap/card.png ktx/card.png
half=$(($(size_of ktx/card.ktx) / 2))
{ wrapper 2 && chunk ktx/card.ktx 0 $half &&
    chunk ktx/card.ktx $half $(($(size_of ktx/card.ktx) - half)); } >wrap/halves
run convert wrap/halves
check "two chunks" same_bytes wrap/halves.png ktx/card.png
wrap wrap/card >wrap/twice
run convert wrap/twice
check "a wrapper in a wrapper" same_bytes wrap/twice.png ktx/card.png
cp wrap/card wrap/1
for i in 2 3 4 5 6 7 8 9; do wrap "wrap/$((i - 1))" >"wrap/$i"; done
run convert wrap/8
check "eight wrappers" same_bytes wrap/8.png ktx/card.png
# A match: the last four of five literals twice more, then five literals.
{ wrapper 1 && bytes 'padA 4zL' && words 14 18 0 0 0 0 &&
    bytes '\x54abcde\x04\x00\x50fghij'; } | refused W-match "what it wraps is not a KTX file"
run info --json wrap/W-match
check "a compressed chunk has its full size" \
    contains "$(tr -d '\n ' <"$logs/out")" '"wrappers":[{"chunks":1,"joinedBytes":18}]'
check_info "a wrapped file" halves "container  QOZM-wrapped KTX" \
    "wrapper    2 chunks, $(size_of ktx/card.ktx) bytes" "inside     KTX 1.1" \
    "size       97 x 61" "format     GL_COMPRESSED_RGBA_ASTC_6x6_KHR" \
    "data       ASTC 6x6 blocks"
check_info "a wrapper in a wrapper" twice "container  QOZM-wrapped KTX" \
    "wrapper    1 chunk, $(size_of wrap/card) bytes" \
    "wrapper    1 chunk, $(size_of ktx/card.ktx) bytes" "inside     KTX 1.1" \
    "size       97 x 61" "format     GL_COMPRESSED_RGBA_ASTC_6x6_KHR" \
    "data       ASTC 6x6 blocks"
run info --json wrap/twice
check "info --json of wrappers" eval '[ "$rc" = 0 ] && [ -z "$err" ] && valid_json'
check "the same keys" [ "$(keys)" = "$ktx_keys" ]
check "each of them" contains "$(tr -d '\n ' <"$logs/out")" \
    "\"wrappers\":[{\"chunks\":1,\"joinedBytes\":$(size_of wrap/card)},{\"chunks\":1,\"joinedBytes\":$(size_of ktx/card.ktx)}],\"inside\":\"KTX1.1\""
for field in '"container": "QOZM-wrapped KTX"' '"width": 97' '"glInternalFormat": 37812'; do
    check "... $field" contains "$out" "$field"
done
inside="the KTX file inside: "
bytes 'QOZM\x02\x00\x00' | refused W-header-cut "its header is cut off"
wrapper 0 | refused W-no-chunks "it has no chunks"
{ bytes QOZM && words 3 && zeros 23; } |
    refused W-table-cut "the file ends within its table of chunks"
{ wrapper 1 && bytes 'padA4zL ' && words 4 4 0 0 0 0 && zeros 4; } |
    refused W-tag "its chunks hold no bytes, or 4 GiB or more"
{ wrapper 2 && bytes 'padA 4zL' && words 1 0xFFFFFFFF 0 0 0 0 && zeros 1 && bytes 'padA 4zL' &&
    words 1 1 0 0 0 0 && zeros 1; } | refused W-large "its chunks hold no bytes, or 4 GiB or more"
wrap a.astc | refused W-astc "what it wraps is not a KTX file"
cat wrap/9 | refused W-nine "it is wrapped more than 8 times"
wrap ktx/V-scheme-2 | refused W-scheme "${inside}it is supercompressed (Zstandard)"
{ wrapper 1 && chunk ktx/card.ktx 0 40; } | refused W-inner-cut "${inside}its header is cut off"
wrap ktx/K-rg11 | warned W-rg11 "4 4" "$(black 16)" \
    "GL_COMPRESSED_RG11_EAC has no conversion to RGB; $is_black"
{ wrapper 2 && chunk ktx/rgb8.ktx 0 "$(size_of ktx/rgb8.ktx)" && bytes 'padX'; } |
    warned W-second-tag "1 2" '\x01\x02\x03\x04\x05\x06'
check "no output of a refused file" [ ! -e never.png ]

# --- PNG pictures, and textures as outputs ---

mkdir png
made=png
be32() { # be32 NUMBER...: escapes of big-endian words
    local number
    for number; do
        printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((number >> 24 & 255)) $((number >> 16 & 255)) \
            $((number >> 8 & 255)) $((number & 255))
    done
}
png_part() { bytes "$(be32 $((${#2} / 4)))$1$2\x00\x00\x00\x00"; } # png_part NAME BYTES
# one_pixel DEPTH COLORTYPE TRANSPARENCY BYTES: a PNG of a pixel, not compressed
one_pixel() {
    bytes '\x89PNG\r\n\x1a\n'
    png_part IHDR "$(be32 1 1)\x$1\x$2\x00\x00\x00"
    [ -z "$3" ] || png_part tRNS "$3"
    local count=$((${#4} / 4 + 1))
    png_part IDAT "$(printf '\\x78\\x01\\x01\\x%02x\\x00\\x%02x\\xff\\x00' $count $((255 - count)))$4\x00\x00\x00\x00"
    png_part IEND ''
}
# ktx_file FORMAT WIDTH HEIGHT LEVELBYTES: as the library writes it, up to the pixels
ktx_file() {
    bytes "\xabKTX 11\xbb\r\n\x1a\n\x01\x02\x03\x04"
    words $gl_byte 1 "$1" "$1" "$1" "$2" "$3" 0 0 1 1 28
    pair KTXorientation 'S=r,T=d' && bytes '\x00' && words "$4"
}
one_pixel 08 02 '' '\x01\x02\x03' >png/rgb.png
one_pixel 08 06 '' '\x01\x02\x03\x80' >png/rgba.png
one_pixel 08 00 '' '\x07' >png/grey.png
one_pixel 08 04 '' '\x07\x80' >png/greya.png
one_pixel 08 02 '\x00\x01\x00\x02\x00\x03' '\x01\x02\x03' >png/clear.png
written() { # written NAME FORMAT BYTES: of png/NAME.png
    run convert "png/$1.png" -o "png/$1.ktx"
    check "PNG $1 to KTX" good "png/$1.png -> png/$1.ktx (1x1)"$'\n'
    { ktx_file "$2" 1 1 4 && bytes "$3"; } >png/expected
    check "its bytes" same_bytes "png/$1.ktx" png/expected
}
written rgb $gl_rgb '\x01\x02\x03\x00'
written rgba $gl_rgba '\x01\x02\x03\x80'
written grey $gl_rgb '\x07\x07\x07\x00'
written greya $gl_rgba '\x07\x07\x07\x80'
written clear $gl_rgba '\x01\x02\x03\x00'
run convert png/rgba.png -o png/norgba.ktx --rgb
{ ktx_file $gl_rgb 1 1 4 && bytes '\x01\x02\x03\x00'; } >png/expected
check "--rgb to KTX" same_bytes png/norgba.ktx png/expected
one_pixel 10 02 '' '\x01\xff\x02\xff\x03\xff' |
    warned wide.png "1 1" '\x01\x02\x03' "its 16-bit channels are cut to 8 bits"
one_pixel 08 02 '' '\x01\x02\x03' | head -c 40 | refused cut.png "the PNG data is damaged"
one_pixel 08 05 '' '\x01\x02\x03' | refused color.png "the PNG data is damaged"
run info png/rgb.png
check "info of a PNG" good "png/rgb.png
  container  PNG
  size       1 x 1
  channels   8 bits
  record     RGB, 8 bits per channel, stride 3, 3 bytes
  file       $(size_of png/rgb.png) bytes
  loads      yes
"
run info --json png/rgba.png
check "info --json of a PNG" eval '[ "$rc" = 0 ] && valid_json && [ "$(keys)" = "$ktx_keys" ] &&
    contains "$out" "\"container\": \"PNG\""'

# There and back. Rows of RGB are padded in the KTX file where the width asks for it.
for size in 64x48 61x47 62x5 63x3 1x7 3x1; do
    "$testcard" "$size" png/card.png --seed 9
    width=${size%x*} height=${size#*x}
    run convert png/card.png -o png/card.ktx
    check "$size RGBA: PNG to KTX" good "png/card.png -> png/card.ktx ($size)"$'\n'
    check "its size" [ "$(size_of png/card.ktx)" = $((96 + width * height * 4)) ]
    run convert png/card.ktx -o png/back.png
    check "and back" "$compare" png/card.png png/back.png
    run convert png/card.png --rgb -o png/card3.png
    run convert png/card3.png -o png/card3.ktx
    check "$size RGB: PNG to KTX" good "png/card3.png -> png/card3.ktx ($size)"$'\n'
    check "its size" \
        [ "$(size_of png/card3.ktx)" = $((96 + (width * 3 + 3) / 4 * 4 * height)) ]
    run convert png/card3.ktx -o png/back3.png
    check "and back" "$compare" png/card3.png png/back3.png
    run convert png/card3.ktx --rgb -o png/again3.ktx
    check "and to KTX once more" same_bytes png/again3.ktx png/card3.ktx
done
run convert a.astc -o png/a.ktx
run convert png/a.ktx -o png/a.png
check "ASTC to KTX" "$compare" png/a.png a.ref.png
run convert pvr/L-rgba -o png/pvr.ktx
{ ktx_file $gl_rgba 1 2 8 && bytes '\x01\x02\x03\xff\x04\x05\x06\x80'; } >png/expected
check "PVR to KTX" same_bytes png/pvr.ktx png/expected

pvr_note="its header is left empty; korutex and other PVR readers do not open it"
run convert png/card3.png -o png/card3.pvr
check "PNG to PVR" result 0 $'png/card3.png -> png/card3.pvr (3x1)\n' \
    "korutex: png/card3.pvr: warning: $pvr_note"$'\n'
{ zeros 52 && words 12 && tail -c 12 png/card3.ktx; } >png/expected
check "its bytes" same_bytes png/card3.pvr png/expected
run info png/card3.pvr
check "it is not opened" bad_file png/card3.pvr "is not an ASTC, KTX, PVR or PNG file"
run convert png/rgb.png png/rgba.png --to pvr -o png/pvrs -j 2
check "the note is for each file" eval '[ "$rc" = 0 ] && [ "$(wc -l <"$logs/err")" = 2 ]'
no_encoder="cannot be written: the library has no ASTC encoder, it would hold no picture"
run convert png/rgb.png -o png/rgb.astc
check "PNG to ASTC" bad_file png/rgb.astc "$no_encoder"
check "no file of it" [ ! -e png/rgb.astc ]
cp a.astc png/keep.astc
run convert png/rgb.png -o png/keep.astc
check "... over a good file" bad_file png/keep.astc "$no_encoder"
check "which is kept" same_bytes png/keep.astc a.astc
run convert png/rgb.png png/none.astc
check "... as a second path" bad_file png/none.astc "$no_encoder"

# Two paths.
run convert png/rgb.png png/two.ktx
check "a second path is the output" good $'png/rgb.png -> png/two.ktx (1x1)\n'
check "its bytes" same_bytes png/two.ktx png/rgb.ktx
run convert png/two.ktx png/two.TGA --rgb
check "a second path that is a picture" good $'png/two.ktx -> png/two.TGA (1x1)\n'
cp png/rgba.ktx png/old.ktx
run convert png/rgb.png png/old.ktx
check "a second path that exists is an input" usage_error \
    "'png/rgb.png' would overwrite the input 'png/rgb.png'; if 'png/old.ktx' is the output, put -o"
check "it is whole" same_bytes png/old.ktx png/rgba.ktx
run convert png/rgb.png -o png/old.ktx
check "-o replaces it" same_bytes png/old.ktx png/rgb.ktx
cp png/rgb.ktx png/x.ktx
cp png/rgba.ktx png/y.ktx
run convert png/x.ktx png/y.ktx
check "two inputs stay inputs" good \
    $'png/x.ktx -> png/x.png (1x1)\npng/y.ktx -> png/y.png (1x1)\n2 converted, 0 failed\n'
run convert png/x.ktx png/nothing.ktx2
check "an ending that is not written" result 1 \
    $'png/x.ktx -> png/x.png (1x1)\n1 converted, 1 failed\n' \
    $'korutex: png/nothing.ktx2: no such file\n'
run convert png/x.ktx 'png/q*.ktx'
check "a pattern without a match" eval '[ "$rc" = 1 ] && contains "$err" "no such file"'
run convert png/x.ktx png/y.ktx png/z.ktx
check "three paths are inputs" eval '[ "$rc" = 1 ] && contains "$err" "z.ktx: no such file" &&
    [ ! -e png/z.ktx ]'
run convert png/missing.png png/z.ktx
check "the input is missing" bad_file png/missing.png "no such file"
check "no output of it" [ ! -e png/z.ktx ]
run convert png/rgb.png
check "a PNG to itself" usage_error "would overwrite the input"
run convert png/x.ktx --to ktx
check "a KTX file to itself" usage_error "would overwrite the input"
run convert png/x.ktx --to ktx -o png/x.ktx
check "... by name" usage_error "would overwrite the input"

# Outputs of the library's writers are as safe as the others.
run convert png/rgb.png -o nowhere/out.ktx
check "KTX: the output's folder is missing" \
    bad_file nowhere/out.ktx "cannot be written: No such file or directory"
mkdir png/taken.ktx
run convert a.astc -o png/taken.ktx/
check "a folder with an ending" good $'a.astc -> png/taken.ktx/a.png (96x60)\n'
mkdir -p png/full/rgb.ktx
run convert png/rgb.png --to ktx -o png/full
check "KTX: the output is a folder" \
    bad_file png/full/rgb.ktx "cannot be written: Is a directory"
echo old >png/keep.ktx
run convert text.astc -o png/keep.ktx
check "KTX: a failed conversion keeps the old file" [ "$(cat png/keep.ktx)" = old ]
if ! $windows; then
    last=(convert a.astc -o png/keep.ktx "(limited file size)")
    (ulimit -f 2 && "${command[@]}" convert a.astc -o png/keep.ktx >"$logs/out" 2>"$logs/err")
    rc=$?
    read_logs
    check "KTX: a write fails half-way" \
        bad_file png/keep.ktx "cannot be written: File too large"
    check "the old file is whole" [ "$(cat png/keep.ktx)" = old ]
    chmod 640 png/keep.ktx
    run convert png/rgb.png -o png/keep.ktx
    check "KTX: a replaced file keeps its permissions" [ "$(stat -c %a png/keep.ktx)" = 640 ]
    run convert png/rgb.png -o "$broken.ktx"
    check "KTX: a name that is not UTF-8" same_bytes "$broken.ktx" png/rgb.ktx
    mkdir "$broken"
    run convert png/rgb.png -o "$broken/a.ktx"
    check "KTX: a folder that is not UTF-8" \
        bad_file 'bad\xFF\xFE/a.ktx' "cannot be written: the name of its folder is not UTF-8"
fi
run convert png/rgb.png -o "$folder/$name.ktx"
check "KTX: a name beyond ASCII" same_bytes "$folder/$name.ktx" png/rgb.ktx
check "no temporary files are left" no_temporaries

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
run convert many/*.astc -o ktxserial --to ktx
check "KTX outputs" eval '[ "$rc" = 1 ] && contains "$out" "21 converted, 3 failed"'
serial_ktx=$out
run convert many/*.astc -o ktxserial --to ktx -j 3
check "KTX outputs, -j 3: the same is said" result 1 "$serial_ktx" "$serial_err"
run convert many/*.astc -o ktxparallel --to ktx -j 3
check "KTX outputs, -j 3: the same is written" diff -r ktxserial ktxparallel
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
