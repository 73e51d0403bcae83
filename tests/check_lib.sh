# Sourced by the shell tests: failure counting, the manual page's format
# check, a completion function driven as bash drives it, and the summary.

failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# page_formats PAGE: groff with all warnings, then man-db's own check.
page_formats() {
    local out
    out=$(groff -t -man -ww -z "$1" 2>&1)
    [[ -z $out ]] || fail "groff warnings in $1:"$'\n'"$out"
    out=$(MANWIDTH=80 man --warnings -E UTF-8 -l "$1" 2>&1 >/dev/null)
    [[ -z $out ]] || fail "man warnings in $1:"$'\n'"$out"
}

# companion_docs PAGE COMPLETION PROGRAM IGNORED: the companion's manual
# page formats without a warning, and its help text, its page and its
# completion (sourced here, offering every option after "--") name the same
# long options, less those matching the extended regular expression IGNORED
# (other programs' options that the help text or the page show).
companion_docs() {
    local page=$1 completion=$2 program=$3 ignored=$4 options in_page offered
    page_formats "$page"
    options=$("$program" --help | grep -o -- '--[a-z][a-z-]*' |
              grep -Evx -- "$ignored" | sort -u)
    [[ -n $options ]] || fail "no options in the help text"
    in_page=$(grep -o -- '\\-\\-[a-z][a-z\\-]*[a-z]' "$page" | sed 's/\\-/-/g' |
              grep -Evx -- "$ignored" | sort -u)
    [[ $options == "$in_page" ]] ||
        fail "options of the help text and the page differ:"$'\n'"$(diff <(echo "$options") <(echo "$in_page"))"
    source "$completion" || { fail "cannot source $completion"; return; }
    COMP_WORDS=("${program##*/}" --) COMP_CWORD=1 COMPREPLY=()
    _vestra_companion
    offered=$(printf '%s\n' "${COMPREPLY[@]%=}" | sort -u)
    [[ $options == "$offered" ]] ||
        fail "options of the help text and the completion differ:"$'\n'"$(diff <(echo "$options") <(echo "$offered"))"
}

# complete_with FUNCTION EXPECTED WORD...: runs the completion FUNCTION with
# COMP_WORDS set to the WORDs, the last being completed, and compares the
# offered words with EXPECTED.
complete_with() {
    local function=$1 expected=$2
    shift 2
    COMP_WORDS=("$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "$function" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" \
        "${COMP_WORDS[COMP_CWORD - 1]}"
    [[ "${COMPREPLY[*]}" == "$expected" ]] ||
        fail "[$*] gave [${COMPREPLY[*]}], expected [$expected]"
}

# finish WHAT: the summary line; status 1 after any failure.
finish() {
    if ((failures)); then
        echo "$failures $1 check(s) failed"
        exit 1
    fi
    echo "$1 checks passed"
}
