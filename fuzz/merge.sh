#!/bin/sh
# Merges the inputs of the work corpus that add coverage into the seed
# corpus in the repository (libFuzzer -merge=1), leaving out inputs larger
# than MAX_LEN bytes, and reports each corpus's size against its budget.
# Usage: fuzz/merge.sh [TARGET...]   MAX_LEN (default 8192), BUDGET_KB per target (default 80)
set -eu

cd "$(dirname "$0")/.."
targets=${*:-"text persist filenames propwrite program"}
max_len=${MAX_LEN:-8192}
budget=${BUDGET_KB:-80}
status=0
for target in $targets; do
    work=build/fuzz/corpus/$target
    seeds=fuzz/corpus/$target
    [ -d "$work" ] || { echo "$target: no work corpus (run make fuzz first)"; continue; }
    mkdir -p "$seeds"
    before=$(ls "$seeds" | wc -l)
    build/fuzz/fuzz/fuzz_$target -merge=1 -max_len="$max_len" -rss_limit_mb=2560 "$seeds" "$work" \
        >"build/fuzz/logs/$target.merge.log" 2>&1
    after=$(ls "$seeds" | wc -l)
    size=$(du -sk "$seeds" | cut -f1)
    echo "$target: $before -> $after inputs, ${size} KB"
    if [ "$size" -gt "$budget" ]; then
        echo "$target: over the ${budget} KB budget; minimise with MAX_LEN smaller or drop inputs" >&2
        status=1
    fi
done
exit $status
