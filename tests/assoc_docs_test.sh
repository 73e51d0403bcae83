#!/usr/bin/env bash
# vestra-assoc's manual page and bash completion: the page formats without
# a warning, and both know exactly the long options of the help text; the
# completion completes option names, --format values and file names.
# Usage: assoc_docs_test.sh PAGE COMPLETION VESTRA_ASSOC
set -u
page=$1 completion=$2 program=$3
source "$(dirname "$0")/check_lib.sh"

page_formats "$page"

options=$("$program" --help | grep -o -- '--[a-z][a-z-]*' | sort -u)
[[ -n $options ]] || fail "no options in the help text"
in_page=$(grep -o -- '\\-\\-[a-z][a-z\\-]*[a-z]' "$page" | sed 's/\\-/-/g' |
          grep -v -- '--\(array\|cpus-per-task\)$' |
          sort -u)
[[ $options == "$in_page" ]] ||
    fail "options of the help text and the page differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_page"))"

source "$completion" || { echo "FAIL: cannot source $completion"; exit 1; }
compopt() { return 0; }
complete_words() { complete_with _vestra_assoc "$@"; }
COMP_WORDS=(vestra-assoc --) COMP_CWORD=1 COMPREPLY=()
_vestra_assoc
in_completion=$(printf '%s\n' "${COMPREPLY[@]%=}" | sort -u)
[[ $options == "$in_completion" ]] ||
    fail "options of the help text and the completion differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_completion"))"
complete_words "--format=" vestra-assoc --fo
complete_words "json text" vestra-assoc --format =
complete_words "text" vestra-assoc --format t
complete_words "--format=json" vestra-assoc --format=j
complete_words "2 20 21 22 23 24 25" vestra-assoc --ellipsoid 2
cd "$(mktemp -d)" && touch events.txt && complete_words "events.txt" vestra-assoc --sigma=3 ev
complete_words "--unassociated=events.txt" vestra-assoc --unassociated=ev
complete_words "" vestra-assoc -- --fo

finish "vestra-assoc documentation"
