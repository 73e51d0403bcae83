#!/usr/bin/env bash
# The generated bash completion: sources the script and drives its function
# the way bash does, with COMP_WORDS and COMP_CWORD, checking COMPREPLY.
# Usage: completion_test.sh SCRIPT DOCGEN
set -u
script=$1 docgen=$2
source "$(dirname "$0")/check_lib.sh"
source "$script" || { echo "FAIL: cannot source $script"; exit 1; }

# compopt only works inside a real completion; record its use instead.
nospace=no
compopt() { [[ "$*" == "-o nospace" ]] && nospace=yes; return 0; }

# complete_words EXPECTED WORD... : the last WORD is the one being completed.
complete_words() { nospace=no; complete_with _vestra "$@"; }

expect_nospace() {
    [[ $nospace == "$1" ]] ||
        fail "nospace after [${COMP_WORDS[*]}] is $nospace, expected $1"
}

# Registration, for every program name that the installation provides.
for name in vestra vestra-norsar; do
    registered=$(complete -p "$name" 2>/dev/null)
    [[ $registered == *"-F _vestra "* ]] || fail "complete -p $name: [$registered]"
done

# Long options: a value-taking option stops at its "=" without a blank.
complete_words "--ellipsoid=" vestra --ell
expect_nospace yes
complete_words "--display" vestra --disp
expect_nospace no
complete_words "--normal --no-log --norsar" vestra --no
expect_nospace no
# Catalog keys, case-sensitive, and the lower-case options apart from them.
complete_words "--Kiruna= --Kiruna2= --Kiruna_M1= --Kiruna_M2= --Kiruna_M3=" vestra --Kir
complete_words "--kiruna= --kiruna2=" vestra -k 10 --kir
complete_words "--Karasjok_ARA1= --Karasjok_ARA2=" vestra --Karasjok_ARA
complete_words "--xxx= --xxx-long= --xxx-lat= --xxx-name=" vestra --xxx
complete_words "--Default=" vestra --Def
expect_nospace yes
# Every long option of the program's table is offered after "--".
complete_words "" vestra --unknown
COMP_WORDS=(vestra --); COMP_CWORD=1; COMPREPLY=()
_vestra
options=$("$docgen" --options | wc -l)
((${#COMPREPLY[@]} == options)) ||
    fail "-- offers ${#COMPREPLY[@]} options, expected $options"

# --ellipsoid values, as bash splits the words at "=" (the default) ...
complete_words "2 20 21 22 23 24 25" vestra --ellipsoid = 2
complete_words "$(echo {1..25})" vestra --ellipsoid =
complete_words "25" vestra -k 1 --ellipsoid = 25
complete_words "" vestra --ellipsoid = 26
# ... without "=" among the word breaks ...
complete_words "--ellipsoid=1 --ellipsoid=10 --ellipsoid=11 --ellipsoid=12 --ellipsoid=13 --ellipsoid=14 --ellipsoid=15 --ellipsoid=16 --ellipsoid=17 --ellipsoid=18 --ellipsoid=19" vestra --ellipsoid=1
# ... as the next word, and through an abbreviation.
complete_words "3" vestra --ellipsoid 3
complete_words "2 20 21 22 23 24 25" vestra --ell = 2

# No values elsewhere: station bearings, --angle, ad-hoc stations, files.
complete_words "" vestra --kiruna = 1
complete_words "" vestra --kiruna 1
complete_words "" vestra -k ""
complete_words "" vestra --angle = ""
complete_words "" vestra --new-station = A
complete_words "" vestra --kiruna=111 ""
complete_words "" vestra --display ""
# Nothing after the end of the options.
complete_words "" vestra -- --ell

finish completion
