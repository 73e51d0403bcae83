#!/usr/bin/env bash
# vestra-fix on catalogues of synthetic five-station events with arrival
# times (text format): throughput with 1 and 2 jobs on 100,000 events, and
# peak memory (maximum resident set size) for 10,000 and 100,000 events.
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
echo "load before: $(cut -d' ' -f1-3 /proc/loadavg)"
run() {  # run JOBS FILE: prints wall seconds and peak RSS in kB
  /usr/bin/time -f '%e %M' -o "$work/time" \
    "$build/vestra-fix" --jobs="$1" "$2" >/dev/null || true
  cat "$work/time"
}
read -r t1 m1 < <(run 1 "$work/100k.txt")
read -r t2 m2 < <(run 2 "$work/100k.txt")
read -r t10 m10 < <(run 2 "$work/10k.txt")
awk -v t1="$t1" -v t2="$t2" 'BEGIN {
  printf "100,000 events: 1 job %.2f s (%.0f events/s), 2 jobs %.2f s (%.0f events/s), speed-up %.2f\n",
         t1, 100000 / t1, t2, 100000 / t2, t1 / t2 }'
echo "peak memory (2 jobs): 10,000 events ${m10} kB, 100,000 events ${m2} kB (1 job: ${m1} kB)"
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
