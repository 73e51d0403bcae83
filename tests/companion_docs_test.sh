#!/usr/bin/env bash
# The companions' manual pages and their one bash completion: each page
# formats without a warning, and the help text, the page and the completion
# name the same long options; the completion completes option names
# (abbreviated too), the values of --format and --ellipsoid, files for
# --unassociated and -o, programs for --gmt, and the input files.
# Usage: companion_docs_test.sh MAN_DIR COMPLETION VESTRA_FIX VESTRA_MAP VESTRA_ASSOC
set -u
export LC_ALL=C
man=$1 completion=$2 fix=$3 map=$4 assoc=$5
source "$(dirname "$0")/check_lib.sh"

companion_docs "$man/vestra-fix.1" "$completion" "$fix" \
    '--(form|pipe|keep-order|colsep|group-by|job-name|array|cpus-per-task|dependency|display)'
# vestra-map's help and page name vestra-fix's --format.
companion_docs "$man/vestra-map.1" "$completion" "$map" '--format'
companion_docs "$man/vestra-assoc.1" "$completion" "$assoc" '--(array|cpus-per-task)'
for name in vestra-fix vestra-map vestra-assoc; do
    [[ $(complete -p "$name" 2>/dev/null) == *"-F _vestra_companion "* ]] ||
        fail "no completion registered for $name"
done

compopt() { return 0; }
# The offers in order: bash sorts them before it shows them.
sorted_offers() {
    _vestra_companion "$@"
    local IFS=$'\n'
    COMPREPLY=($(printf '%s\n' "${COMPREPLY[@]}" | sort))
}
complete_words() { complete_with sorted_offers "$@"; }

cd "$(mktemp -d)" || exit 1
touch a.png b.PDF c.txt ev.geojson e.JSON events.txt
mkdir maps
# Option names and the values of --format and --ellipsoid, however given.
complete_words "--format=" vestra-fix --fo
complete_words "geojson json quakeml text" vestra-fix --format =
complete_words "json" vestra-fix --format j
complete_words "--format=geojson" vestra-fix --format=g
complete_words "2 20 21 22 23 24 25" vestra-fix --ellipsoid 2
complete_words "json text" vestra-assoc --form =
complete_words "2 20 21 22 23 24 25" vestra-assoc --ell = 2
complete_words "" vestra-assoc --min = 2
complete_words "--output=" vestra-map --ou
complete_words "--size=" vestra-map --dpi=300 --s
# Files: any as the input of vestra-fix and vestra-assoc and for
# --unassociated, pictures for -o, GeoJSON as vestra-map's input.
complete_words "ev.geojson events.txt" vestra-fix --sigma=3 ev
complete_words "--unassociated=ev.geojson --unassociated=events.txt" vestra-assoc --unassociated=ev
complete_words "a.png b.PDF maps" vestra-map -o ""
complete_words "a.png b.PDF maps" vestra-map --out = ""
complete_words "--output=a.png" vestra-map --output=a
complete_words "e.JSON ev.geojson maps" vestra-map -o x.png ""
complete_words "ev.geojson" vestra-map --dpi 300 ev
complete_words "" vestra-map --truth = 6
# Nothing after the end of the options but files.
complete_words "" vestra-fix -- --fo
complete_words "" vestra-map -- --ou
PATH=$PWD/maps:$PATH
touch maps/gmt-test-program && chmod +x maps/gmt-test-program
complete_words "gmt-test-program" vestra-map --gmt gmt-test
rm -rf "$PWD"

finish "companion documentation"
