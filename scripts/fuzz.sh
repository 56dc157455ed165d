#!/bin/sh
# Runs every fuzz target for FUZZ_SECONDS (default 300) on a working copy of its seed corpus,
# and prints the executions and coverage. A crash leaves its input in build-fuzz/crashes/;
# copy it into fuzz/crashers/<target>/ so the tests replay it from then on.
set -eu
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-300}
targets=${FUZZ_TARGETS:-"page queryfile wildcard substitute"}
for target in $targets; do
    work=build-fuzz/corpus/$target
    crashes=build-fuzz/crashes/$target/
    mkdir -p "$work" "$crashes"
    cp -n fuzz/corpus/$target/* fuzz/crashers/$target/* "$work"/ 2>/dev/null || true
    case $target in
        page) cp -n examples/*.html tests/data/pages/*.html "$work"/ ;;
        queryfile) cp -n examples/query.json "$work"/ ;;
    esac
    echo "== $target, $seconds s"
    QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 \
        build-fuzz/fuzz/fuzz_$target -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
        -max_len=65536 -print_final_stats=1 -artifact_prefix="$crashes" "$work" 2>&1 |
        grep -E "^#[0-9]+ *(DONE|INITED)|stat::number_of_executed_units|stat::peak_rss|cov:|==ERROR|SUMMARY|Test unit written" | tail -6
done
