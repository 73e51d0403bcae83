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
