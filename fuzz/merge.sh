#!/bin/sh
# Takes the work corpus's new coverage into the seed corpus in the
# repository: libFuzzer's set-cover merge over edge coverage (hit counts
# left out, so that few inputs are taken) of the seeds and the work corpus,
# inputs up to MAX_LEN bytes; the new inputs are added smallest first while
# the target's seeds stay within BUDGET_KB (apparent size).
# Usage: fuzz/merge.sh [TARGET...]   MAX_LEN (default 4096), BUDGET_KB per target (default 60)
set -eu

cd "$(dirname "$0")/.."
targets=${*:-"text persist filenames propwrite program"}
max_len=${MAX_LEN:-4096}
budget=$(( ${BUDGET_KB:-60} * 1024 ))
size_of() { cat "$1"/* 2>/dev/null | wc -c; }

for target in $targets; do
    work=build/fuzz/corpus/$target
    seeds=fuzz/corpus/$target
    merged=build/fuzz/merge/$target
    [ -d "$work" ] || { echo "$target: no work corpus (run make fuzz first)"; continue; }
    mkdir -p "$seeds" build/fuzz/logs
    rm -rf "$merged"
    mkdir -p "$merged"
    build/fuzz/fuzz/fuzz_$target -set_cover_merge=1 -use_counters=0 -max_len="$max_len" -rss_limit_mb=2560 \
        "$merged" "$seeds" "$work" >"build/fuzz/logs/$target.merge.log" 2>&1
    added=0
    total=$(size_of "$seeds")
    known=$(for seed in "$seeds"/*; do if [ -f "$seed" ]; then sha1sum <"$seed" | cut -d' ' -f1; fi; done)
    for file in $(ls -S -r "$merged"); do
        # libFuzzer names what it takes by its SHA-1: a seed's copy is no news.
        echo "$known" | grep -qx "$file" && continue
        bytes=$(wc -c <"$merged/$file")
        [ $((total + bytes)) -le "$budget" ] || break
        cp "$merged/$file" "$seeds/$file"
        total=$((total + bytes))
        added=$((added + 1))
    done
    echo "$target: $added inputs added, $(ls "$seeds" | wc -l) seeds, $((total / 1024)) KB"
done
