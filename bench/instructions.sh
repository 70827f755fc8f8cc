#!/bin/sh
# Runs every scenario under callgrind and prints the instructions each one
# costs per item, with the ratio to its baseline. Instruction counts do not
# depend on the machine's load, so they compare well from run to run.
#   bench/instructions.sh build/native/bench/flukokzad_bench [name-filter]
set -eu
bench=$1
filter=${2:-}
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

valgrind --tool=callgrind --callgrind-out-file="$out/cg.%p" "$bench" --instructions $filter \
    >"$out/scenarios" 2>"$out/valgrind.log" || { cat "$out/valgrind.log" >&2; exit 1; }

# Dumps are numbered in the order the scenarios ran: cg.<pid>.1, .2, ...
for dump in "$out"/cg.*.*; do
    name=$(sed -n 's/^desc: Trigger: Client Request: //p' "$dump")
    total=$(sed -n 's/^summary: //p' "$dump")
    printf 'dump\t%s\t%s\n' "$name" "$total"
done >"$out/dumps"

awk -F '\t' '
    FNR == NR { if ($1 == "dump") count[$2] = $3; next }
    $1 == "scenario" {
        name = $2; runs = $3; items = $4; baseline = $5; target = $6
        per[name] = count[name] / runs / items
        order[++n] = name; base[name] = baseline; goal[name] = target; less[name] = $7
    }
    END {
        printf "%-44s %14s %14s %8s %8s\n", "scenario (per item)", "instructions", "baseline", "ratio", "target"
        for (i = 1; i <= n; ++i) {
            name = order[i]
            # The reference counting every hit pays is taken off, as in the timings.
            if (less[name] != "-" && (less[name] in per)) per[name] -= per[less[name]]
            if (base[name] != "-" && (base[name] in per) && per[base[name]] > 0) {
                ratio = per[name] / per[base[name]]
                printf "%-44s %14.1f %14.1f %7.2fx %8s\n", name, per[name], per[base[name]], ratio,
                       ((goal[name] > 0) ? sprintf("%.1fx", goal[name]) : "")
            } else {
                printf "%-44s %14.1f\n", name, per[name]
            }
        }
    }' "$out/dumps" "$out/scenarios"
