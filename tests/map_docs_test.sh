#!/usr/bin/env bash
# vestra-map's manual page and bash completion: the page formats without a
# warning, and both know exactly the long options of the help text; the
# completion completes option names (abbreviated too), pictures for -o,
# programs for --gmt and GeoJSON files as the input.
# Usage: map_docs_test.sh PAGE COMPLETION VESTRA_MAP
set -u
export LC_ALL=C
page=$1 completion=$2 program=$3
source "$(dirname "$0")/check_lib.sh"

page_formats "$page"

# The help text names vestra-fix's --format too.
options=$("$program" --help | grep -o -- '--[a-z][a-z-]*' | grep -vx -- --format |
          sort -u)
[[ -n $options ]] || fail "no options in the help text"
in_page=$(grep -o -- '\\-\\-[a-z][a-z\\-]*[a-z]' "$page" | sed 's/\\-/-/g' |
          grep -v -- '--format$' | sort -u)
[[ $options == "$in_page" ]] ||
    fail "options of the help text and the page differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_page"))"

source "$completion" || { echo "FAIL: cannot source $completion"; exit 1; }
compopt() { return 0; }
# The offers in order: bash sorts them before it shows them.
sorted_offers() {
    _vestra_map "$@"
    local IFS=$'\n'
    COMPREPLY=($(printf '%s\n' "${COMPREPLY[@]}" | sort))
}
complete_words() { complete_with sorted_offers "$@"; }
COMP_WORDS=(vestra-map --) COMP_CWORD=1 COMPREPLY=()
_vestra_map
in_completion=$(printf '%s\n' "${COMPREPLY[@]%=}" | sort -u)
[[ $options == "$in_completion" ]] ||
    fail "options of the help text and the completion differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_completion"))"

cd "$(mktemp -d)" || exit 1
touch a.png b.PDF c.txt ev.geojson e.JSON
mkdir maps
complete_words "--output=" vestra-map --ou
complete_words "--size=" vestra-map --dpi=300 --s
complete_words "a.png b.PDF maps" vestra-map -o ""
complete_words "a.png b.PDF maps" vestra-map --out = ""
complete_words "--output=a.png" vestra-map --output=a
complete_words "e.JSON ev.geojson maps" vestra-map -o x.png ""
complete_words "ev.geojson" vestra-map --dpi 300 ev
complete_words "" vestra-map --truth = 6
complete_words "" vestra-map -- --ou
PATH=$PWD/maps:$PATH
touch maps/gmt-test-program && chmod +x maps/gmt-test-program
complete_words "gmt-test-program" vestra-map --gmt gmt-test
rm -rf "$PWD"

finish "vestra-map documentation"
