#!/usr/bin/env bash
# Takes into tests/data/fuzz what fuzzing found and the seeds do not reach: fuzz_corpus.sh [TARGET...]
# For each target, all by default: the fewest inputs of build/fuzz/corpus/TARGET that reach the code
# which the seeds leave out replace those in tests/data/fuzz/TARGET; finding-* files stay. Run
# scripts/fuzz.sh before.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

if [ $# -eq 0 ]; then
    mapfile -t targets < <(find fuzz/targets -name '*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort)
    set -- "${targets[@]}"
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for target in "$@"; do
    kept=tests/data/fuzz/$target seeds=build/fuzz/fuzz/seeds/$target
    mkdir -p "$kept" "$work/$target/old"
    find "$kept" -type f ! -name 'finding-*' -exec cp -t "$work/$target/old" {} +
    # By edges alone: how often each is passed would keep hundreds.
    mkdir "$work/$target/merged"
    cp -t "$work/$target/merged" "$seeds"/*
    if ! "build/fuzz/fuzz_$target" -set_cover_merge=1 -use_counters=0 -max_len=4096 "$work/$target/merged" \
        "build/fuzz/corpus/$target" "$work/$target/old" > "$work/log" 2>&1; then
        cat "$work/log" >&2
        exit 1
    fi
    find "$kept" -type f ! -name 'finding-*' -delete
    for file in "$work/$target/merged"/*; do
        [ -e "$seeds/${file##*/}" ] || cp "$file" "$kept/"
    done
    printf '%-18s %3d files %7d bytes\n' "$target" "$(find "$kept" -type f | wc -l)" \
        "$(cat "$kept"/* 2> /dev/null | wc -c)"
done
