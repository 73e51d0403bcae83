#!/usr/bin/env bash
# vestra-map with GMT: a regional event, a far-field event across the
# antimeridian and one near the pole are drawn at the requested size, with
# the features in the middle of the map, GMT silent; bad input and a failing
# GMT give a message and status 1 and leave no file; a signal while GMT
# draws ends the program by that signal and GMT with it; nothing is left in
# the working, home or temporary directory.
# Usage: map_test.sh VESTRA_MAP FIXTURE_DIR (FIXTURE_DIR holds
# regional.geojson and two_events.geojson as vestra-fix wrote them)
set -u
map=$1 fixtures=$2
source "$(dirname "$0")/check_lib.sh"
# Debian's Python, which has GDAL (gdal-bin depends on it).
check_png=$(cd "$(dirname "$0")" && pwd)/map/check_png.py
check_png() { /usr/bin/python3 "$check_png" "$@" || fail "$1"; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
mkdir "$tmp/run" "$tmp/home" "$tmp/tmp"
cd "$tmp/run" || exit 1
export HOME=$tmp/home TMPDIR=$tmp/tmp

# draw ARGS...: status 0, nothing on the standard error stream.
draw() {
    "$map" "$@" 2>err
    local status=$?
    ((status == 0)) || fail "vestra-map $*: status $status"
    [[ ! -s err ]] || fail "vestra-map $*: stderr: $(cat err)"
}

draw --size=800x600 -o regional.png "$fixtures/regional.geojson"
check_png regional.png 800 600
draw -o regional.pdf "$fixtures/regional.geojson"
[[ $(head -c 5 regional.pdf) == %PDF- ]] || fail "regional.pdf is not a PDF"
draw --size=640x480 -o 'map-%e.png' <"$fixtures/two_events.geojson"
check_png map-bering.png 640 480
check_png map-north_pole.png 640 480
left=$(ls -A | sort | tr '\n' ' ')
[[ $left == "err map-bering.png map-north_pole.png regional.pdf regional.png " ]] ||
    fail "working directory holds: $left"

# Refused input: status 1, one message naming the cause, no picture.
mkdir "$tmp/bad" && cd "$tmp/bad" || exit 1
head -c 300 "$fixtures/regional.geojson" >truncated.geojson
echo '{"type": "Feature"}' >feature.geojson
refused() {
    local expected=$1
    shift
    rm -f out.png
    "$map" -o out.png "$@" 2>err
    local status=$?
    ((status == 1)) || fail "vestra-map $*: status $status"
    grep -q "^vestra-map: .*$expected" err || fail "vestra-map $*: stderr: $(cat err)"
    [[ -z $(ls -A | grep -v -e '^err$' -e '\.geojson$') ]] ||
        fail "vestra-map $*: left $(ls -A)"
}
refused "missing.geojson: No such file" missing.geojson
refused "truncated.geojson: not valid JSON: parse error at line" truncated.geojson
refused "not a GeoJSON FeatureCollection" feature.geojson
refused "GMT failed" --gmt=false "$fixtures/regional.geojson"
refused "GMT made no picture" --gmt=true "$fixtures/regional.geojson"

# A signal while GMT draws (a GMT that sleeps): the program dies by it, and
# GMT with it, leaving neither picture nor temporary directory. A shell's
# background job ignores SIGINT unless env gives it back its default.
cat >slow-gmt <<'END'
#!/bin/sh
echo $$ >"$STARTED"
exec sleep 60
END
chmod +x slow-gmt
for signal in TERM INT HUP; do
    rm -f started
    STARTED=$PWD/started env --default-signal=INT "$map" --gmt="$PWD/slow-gmt" \
        -o out.png "$fixtures/regional.geojson" &
    pid=$!
    for ((i = 0; i < 100; i++)); do [[ -s started ]] && break; sleep 0.1; done
    kill -s "$signal" "$pid"
    wait "$pid" 2>/dev/null
    status=$?
    ((status == 128 + $(kill -l "$signal"))) || fail "SIG$signal: status $status"
    ! kill -0 "$(cat started)" 2>/dev/null || fail "SIG$signal: GMT still runs"
    [[ -z $(ls -A "$TMPDIR") && ! -e out.png ]] ||
        fail "SIG$signal: left $(ls -A "$TMPDIR" .)"
done
rm -f slow-gmt started

[[ -z $(ls -A "$HOME" "$TMPDIR" | grep -v ':$' | grep .) ]] ||
    fail "left in home or temporary directory: $(ls -AR "$HOME" "$TMPDIR")"

finish map
