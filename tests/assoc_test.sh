#!/usr/bin/env bash
# vestra-assoc on a seeded synthetic world of 12 days: the same bytes for
# any order of the input files and any number of jobs; every detection
# written once, to an event or to the unassociated file; that file put in
# place without following a link; and a run split into time slices with
# GNU parallel, as the manual page shows it, equal to the single run.
# Usage: assoc_test.sh VESTRA_ASSOC WORLD_TEXT
set -u
assoc=$1 world_text=$2
source "$(dirname "$0")/check_lib.sh"

here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cd "$tmp" || exit 1

# 8 arrays, 12 days from 2010-01-01, 150 events, 0.75 clutter detections
# per array-hour; one text file per array.
"$world_text" 5 12 150 0.75 >world.txt || fail "world_text: status $?"
awk '{ print > ($2 ".txt") }' world.txt
arrays=$(ls R*.txt)
reversed=$(ls -r R*.txt)
total=$(wc -l <world.txt)

# Order of the files and jobs.
"$assoc" -j1 --unassociated=un1.json $arrays >out1.json ||
    fail "-j1: status $?"
"$assoc" -j2 --unassociated=un2.json $reversed >out2.json ||
    fail "-j2, files reversed: status $?"
cmp -s out1.json out2.json || fail "events differ with -j2 and the files reversed"
cmp -s un1.json un2.json || fail "unassociated differ with -j2 and the files reversed"
events=$(grep -c '"Event": "2010' out1.json)
rest=$(grep -c '"Event": ""' un1.json)
((events > 400)) || fail "only $events detections associated"
((events + rest == total)) ||
    fail "$events associated and $rest unassociated of $total detections"
# Detection JSON likewise (InfraPy's example).
dets=$here/detections
"$assoc" -j1 --unassociated=rest1.json \
    "$dets"/{DLIAR,I57US,NVIAR,PDIAR}.dets.json >infrapy1.json
"$assoc" -j2 --unassociated=rest2.json \
    "$dets"/{PDIAR,NVIAR,I57US,DLIAR}.dets.json >infrapy2.json
cmp -s infrapy1.json infrapy2.json && cmp -s rest1.json rest2.json ||
    fail "InfraPy's example differs with -j2 and the files reversed"

# Detections that come with an event keep it: its own output read again
# is written again as it was.
"$assoc" -j2 out1.json | cmp -s - out1.json ||
    fail "its own output read again differs"

# The unassociated file replaces a link planted at its name, not the file
# the link points to.
echo victim >victim
ln -s victim link.json
"$assoc" --unassociated=link.json R1.txt R2.txt >/dev/null ||
    fail "link: status $?"
[[ $(cat victim) == victim ]] || fail "the link's target was written"
[[ -f link.json && ! -L link.json ]] || fail "link.json is still a link"

# A split run as the manual page shows it: slices of three days, each
# reading the whole input and writing the events whose first arrival, and
# the other detections whose time, lies in its own days; the last slice
# open-ended. The outputs, merged, are the single run's.
slice() {  # slice FROM [TO]
    "$assoc" -j1 --from="$1" ${2:+--to="$2"} --unassociated="rest.$1.json" \
        R*.txt >"events.$1.json"
}
export -f slice
export assoc
parallel --will-cite slice ::: 2010-01-01 2010-01-04 2010-01-07 2010-01-10 \
    :::+ 2010-01-04 2010-01-07 2010-01-10 '' || fail "parallel: status $?"
merge() {  # merge FILE...: detection JSON arrays into one
    echo '['
    sed -s '1d;$d;s/,$//' "$@" | sed '$!s/$/,/'
    echo ']'
}
merge events.*.json | cmp -s - out1.json ||
    fail "the slices' events differ from the single run's"
merge rest.*.json | cmp -s - un1.json ||
    fail "the slices' unassociated detections differ from the single run's"

finish vestra-assoc
