#!/usr/bin/env bash
# Times whole processes with hyperfine: the typical request (two catalog
# stations, normal writer) with and without the run log, against GeodSolve
# solving one inverse problem and /bin/true. Prints the ratios to GeodSolve,
# of the means and of the medians (the median is the steadier figure on a
# machine that is busy with other work).
#
#   bench/cli.sh [build-dir]      (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
for p in hyperfine geographiclib-tools; do
  if ! dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q '^install ok installed'; then
    if [ "$(id -u)" = 0 ]; then apt-get install -y "$p" >/dev/null
    else echo "sudo apt-get install -y $p"; exit 1; fi
  fi
done
[ -x "$build/vestra" ] || make build BUILD="$build" >/dev/null
vestra=$(realpath "$build/vestra")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
echo "67.8 20.4 64.0 14.0" > line.txt
hyperfine -N --warmup 50 --runs 1000 --export-json times.json \
  -n vestra "$vestra --kiruna=111 --lycksele=66" \
  -n vestra-no-log "$vestra --no-log --kiruna=111 --lycksele=66" \
  -n GeodSolve "GeodSolve -i --input-file line.txt" \
  -n true "/bin/true" >/dev/null
python3 - <<'PY'
import json
r = {x["command"]: x for x in json.load(open("times.json"))["results"]}
g = r["GeodSolve"]["mean"]
gm = r["GeodSolve"]["median"]
for name in ("vestra", "vestra-no-log", "GeodSolve", "true"):
    m = r[name]["mean"]
    md = r[name]["median"]
    print(f"{name:14s} mean {m*1e3:7.3f} ms ± {r[name]['stddev']*1e3:6.3f}  ratio {m/g:5.2f}"
          f"   median {md*1e3:7.3f} ms  ratio {md/gm:5.2f}")
PY
