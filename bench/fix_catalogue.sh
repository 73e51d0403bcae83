#!/usr/bin/env bash
# vestra-fix on catalogues of synthetic five-station events with arrival
# times: throughput with 1 and 2 jobs (the best of three runs each) on
# 100,000 events of the text format and on 20,000 events of each format,
# peak memory (maximum resident set size) for 10,000 and 100,000 events of
# text, and the reader alone (every detection read, not located) in MB/s
# for both formats.
#
#   bench/fix_catalogue.sh [build-dir]      (default: build-bench; after make bench)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build-bench}")
[ -x "$build/bench/fix_catalogue" ] ||
  { echo "build $build/bench/fix_catalogue first (make bench)"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bench/fix_catalogue" 10000 >"$work/10k.txt"
"$build/bench/fix_catalogue" 100000 >"$work/100k.txt"
"$build/bench/fix_catalogue" 20000 >"$work/20k.txt"
"$build/bench/fix_catalogue" --json 20000 >"$work/20k.json"
echo "load before: $(cut -d' ' -f1-3 /proc/loadavg)"
run() {  # run JOBS FILE: prints wall seconds and peak RSS in kB
  /usr/bin/time -f '%e %M' -o "$work/time" \
    "$build/vestra-fix" --jobs="$1" "$2" >/dev/null || true
  cat "$work/time"
}
best() {  # best JOBS FILE: the least wall time of three runs, and its RSS
  local t m bt=1e9 bm=0
  for _ in 1 2 3; do
    read -r t m < <(run "$1" "$2")
    if awk -v a="$t" -v b="$bt" 'BEGIN { exit !(a < b) }'; then bt=$t bm=$m; fi
  done
  echo "$bt $bm"
}
speed_up() {  # speed_up LABEL EVENTS FILE
  local t1 m1 t2 m2
  read -r t1 m1 < <(best 1 "$3")
  read -r t2 m2 < <(best 2 "$3")
  awk -v label="$1" -v n="$2" -v t1="$t1" -v t2="$t2" 'BEGIN {
    printf "%s: 1 job %.2f s (%.0f events/s), 2 jobs %.2f s (%.0f events/s), speed-up %.2f\n",
           label, t1, n / t1, t2, n / t2, t1 / t2 }'
  last_rss="$m2 kB (1 job: $m1 kB)"
}
speed_up "100,000 events, text" 100000 "$work/100k.txt"
m100=$last_rss
speed_up "20,000 events, text" 20000 "$work/20k.txt"
speed_up "20,000 events, detection JSON" 20000 "$work/20k.json"
read -r _ m10 < <(run 2 "$work/10k.txt")
echo "peak memory (2 jobs, text): 10,000 events ${m10} kB, 100,000 events $m100"
echo "reader alone, text: $("$build/bench/fix_catalogue" --read "$work/100k.txt")"
echo "reader alone, JSON: $("$build/bench/fix_catalogue" --read "$work/20k.json")"
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
