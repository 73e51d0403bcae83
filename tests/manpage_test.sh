#!/usr/bin/env bash
# The generated manual page: formats without a single warning, documents
# every long option of the program and no option it does not have, and
# lists the catalog as the program itself does.
# Usage: manpage_test.sh PAGE DOCGEN VESTRA
set -u
page=$1 docgen=$2 vestra=$3
source "$(dirname "$0")/check_lib.sh"

page_formats "$page"
grep -n '@[A-Z_-]*\(:[A-Za-z0-9_]*\)\?@' "$page" && fail "markers left in the page"
grep -n 'EXAMPLE-TODO\|example output pending' "$page" && fail "examples left to fill in"

# Options: the set of --names in the page against the program's table.
# Exceptions: "disp", the example of an abbreviation, and "kiruna1", the
# help text's mistake.
documented=$(grep -o '\\-\\-[A-Za-z0-9_]*\(\\-[A-Za-z0-9_]\+\)*' "$page" |
             sed 's/\\-/-/g; s/^--//' | sort -u)
options=$("$docgen" --options | sort -u)
missing=$(comm -13 <(echo "$documented") <(echo "$options"))
[[ -z $missing ]] || fail "options not documented:" $missing
unknown=$(comm -23 <(echo "$documented") <(echo "$options") | grep -vx -e disp -e kiruna1)
[[ -z $unknown ]] || fail "documented options the program lacks:" $unknown

# Catalog: one row per station, named as the station listing names them
# (the listing shows Default first and last), at the listing's coordinates
# (6 significant digits there, 5 decimals here).
catalog=$(sed -n '/^Option|Name|/,/^\.TE/p' "$page" | grep '^\\-\\-' | sed 's/\\-/-/g')
listing=$("$vestra" --display | tail -n +2)
listed=$(cut -f1 <<<"$listing" | sed 's/ *$//')
tabled=$(cut -d'|' -f2 <<<"$catalog")
[[ $listed == "$tabled" ]] ||
    fail "catalog names differ from --display:"$'\n'"$(diff <(echo "$listed") <(echo "$tabled"))"
mismatches=$(paste -d'|' <(cut -f4,5 --output-delimiter='|' <<<"$listing") \
                         <(cut -d'|' -f2-4 <<<"$catalog") |
    awk -F'|' 'function near(x, y) { return (x > y ? x - y : y - x) <= 1e-5 * (x < 0 ? -x : x) + 1e-5 }
               $1 != 1000 && !(near($2, $4) && near($1, $5)) { print $3 ": listing " $2 " " $1 ", page " $4 " " $5 }')
[[ -z $mismatches ]] || fail "coordinates differ:"$'\n'"$mismatches"

# Ellipsoids 1 to 25, the default marked.
erows=$(sed -n '/^N|Ellipsoid/,/^\.TE/p' "$page" | grep -c '^[0-9]')
((erows == 25)) || fail "ellipsoid table has $erows rows, expected 25"
grep -qx '25|WGS_84 (default)' "$page" || fail "WGS_84 not marked as default"

finish "manual page"
