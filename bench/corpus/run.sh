#!/bin/sh
# `tamberline run --engine static --format json` over the 258 real pages of the npm package
# htmlparser-benchmark, on one job and on all cores, beside cheerio and BeautifulSoup + lxml
# doing the same query. Prints MB/s, pages/s and the ratios. Needs the network once, for the
# corpus and cheerio; everything lands in bench/.cache.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
cache="$root/bench/.cache"
program="$root/build/app/tamberline"
mkdir -p "$cache"

if [ ! -d "$cache/package/files" ]; then
    (cd "$cache" && npm pack --silent htmlparser-benchmark >/dev/null && tar xzf htmlparser-benchmark-*.tgz)
fi
if [ ! -d "$cache/node_modules/cheerio" ]; then
    (cd "$cache" && npm install --silent --no-audit --no-fund cheerio >/dev/null)
fi
if ! /usr/bin/python3 -c "import bs4, lxml" 2>/dev/null; then
    if [ "$(id -u)" -eq 0 ]; then
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq python3-bs4 python3-lxml >/dev/null
    else
        echo "install python3-bs4 and python3-lxml for the BeautifulSoup comparison" >&2
    fi
fi

files=$(ls "$cache"/package/files/*.html)
pages=$(echo "$files" | wc -l)
bytes=$(cat $files | wc -c)
cores=$(nproc)

now() { date +%s.%N; }
measure() { # label, command...
    label=$1
    shift
    start=$(now)
    "$@" >"$cache/out-$label.jsonl"
    end=$(now)
    seconds=$(echo "$end - $start" | bc -l)
    printf "%-28s %7.2f s  %7.1f MB/s  %7.1f pages/s\n" "$label" "$seconds" \
        "$(echo "$bytes / 1000000 / $seconds" | bc -l)" "$(echo "$pages / $seconds" | bc -l)"
    eval "time_$label=$seconds"
}

echo "corpus: $pages pages, $(echo "$bytes / 1000000" | bc -l | cut -c1-5) MB; $cores cores"
measure tamberline_1_job "$program" run "$here/query.json" $files --format json --jobs 1 || true
measure tamberline_all_cores "$program" run "$here/query.json" $files --format json --jobs "$cores" || true
measure cheerio env NODE_PATH="$cache/node_modules" node "$here/cheerio-query.js" $files
measure beautifulsoup_lxml /usr/bin/python3 "$here/bs4_query.py" $files

echo
printf "cheerio / tamberline (1 job):             %.1f times as long\n" "$(echo "$time_cheerio / $time_tamberline_1_job" | bc -l)"
printf "BeautifulSoup / tamberline (1 job):       %.1f times as long\n" "$(echo "$time_beautifulsoup_lxml / $time_tamberline_1_job" | bc -l)"
printf "tamberline, all cores against one job:    %.2f times as fast\n" "$(echo "$time_tamberline_1_job / $time_tamberline_all_cores" | bc -l)"
echo
"$root/build/bench/bench_corpus" "$cache/package/files"
