#!/usr/bin/env bash
# vestra-fix's manual page and bash completion: the page formats without a
# warning, and both know exactly the long options of the help text; the
# completion completes option names, --format values and file names.
# Usage: fix_docs_test.sh PAGE COMPLETION VESTRA_FIX
set -u
page=$1 completion=$2 program=$3
source "$(dirname "$0")/check_lib.sh"

page_formats "$page"

options=$("$program" --help | grep -o -- '--[a-z][a-z-]*' | sort -u)
[[ -n $options ]] || fail "no options in the help text"
in_page=$(grep -o -- '\\-\\-[a-z][a-z\\-]*[a-z]' "$page" | sed 's/\\-/-/g' |
          grep -v -- '--\(form\|pipe\|keep-order\|colsep\|group-by\|job-name\|array\|cpus-per-task\|dependency\|display\)$' |
          sort -u)
[[ $options == "$in_page" ]] ||
    fail "options of the help text and the page differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_page"))"

source "$completion" || { echo "FAIL: cannot source $completion"; exit 1; }
compopt() { return 0; }
complete_words() { complete_with _vestra_fix "$@"; }
COMP_WORDS=(vestra-fix --) COMP_CWORD=1 COMPREPLY=()
_vestra_fix
in_completion=$(printf '%s\n' "${COMPREPLY[@]%=}" | sort -u)
[[ $options == "$in_completion" ]] ||
    fail "options of the help text and the completion differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_completion"))"
complete_words "--format=" vestra-fix --fo
complete_words "text json geojson quakeml" vestra-fix --format =
complete_words "json" vestra-fix --format j
complete_words "--format=geojson" vestra-fix --format=g
complete_words "2 20 21 22 23 24 25" vestra-fix --ellipsoid 2
cd "$(mktemp -d)" && touch events.txt && complete_words "events.txt" vestra-fix --sigma=3 ev
complete_words "" vestra-fix -- --fo

finish "vestra-fix documentation"
