#!/bin/sh
# Runs each fuzz target for a bounded time: the seeds in fuzz/corpus/<target>
# are read, new inputs go to the work corpus build/fuzz/corpus/<target>, and a
# crash, leak or time-out leaves its input in build/fuzz/artifacts/<target>/.
# Usage: fuzz/run.sh SECONDS [TARGET...]   (default: every target)
# A summary line per target goes to build/fuzz/runs.log.
set -eu

cd "$(dirname "$0")/.."
seconds=${1:-600}
shift || true
targets=${*:-"text persist filenames propwrite program"}
bin=build/fuzz/fuzz
failed=0

# One target's run: its summary line to the log, a finding as a failure.
fuzz_one() {
    target=$1
    work=build/fuzz/corpus/$target
    artifacts=build/fuzz/artifacts/$target
    log=build/fuzz/logs/$target.log
    mkdir -p "$work" "$artifacts" build/fuzz/logs
    dict=""
    [ -f "fuzz/$target.dict" ] && dict="-dict=fuzz/$target.dict"
    echo "fuzzing $target for ${seconds}s"
    # shellcheck disable=SC2086
    if "$bin/fuzz_$target" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2560 -max_len=65536 \
        -print_final_stats=1 -artifact_prefix="$artifacts/" $dict "$work" "fuzz/corpus/$target" >"$log" 2>&1; then
        status=ok
    else
        status=FINDING
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | sed 's/cov: //')
    line="$(date -u +%FT%TZ) $target ${seconds}s runs=${runs:-?} cov=${cov:-?} $status"
    echo "$line" | tee -a build/fuzz/runs.log
    if [ "$status" != ok ]; then
        grep -E "^(==[0-9]+==ERROR|SUMMARY|fuzz:)|runtime error" "$log" | head -n 5 >&2 || true
        echo "input and log: $artifacts/ $log" >&2
        return 1
    fi
}

# FUZZ_JOBS targets at a time (one per core by default); each runs on one core.
jobs=${FUZZ_JOBS:-$(nproc)}
running=0
pids=""
for target in $targets; do
    fuzz_one "$target" &
    pids="$pids $!"
    running=$((running + 1))
    if [ "$running" -ge "$jobs" ]; then
        for pid in $pids; do wait "$pid" || failed=1; done
        pids=""
        running=0
    fi
done
for pid in $pids; do wait "$pid" || failed=1; done
exit $failed
