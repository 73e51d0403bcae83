#!/usr/bin/env bash
# Installation into a fresh prefix: the program, the link that selects the
# back-azimuth method, the manual page and the bash completion, and both
# installed names run; vestra-fix, vestra-map and vestra-assoc with their
# pages and completions, and they run.
# Usage: install_test.sh CMAKE BUILD_DIR
set -u
cmake=$1 build=$2
source "$(dirname "$0")/check_lib.sh"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix

"$cmake" --install "$build" --prefix "$prefix" >"$tmp/install.log" 2>&1 ||
    { cat "$tmp/install.log"; echo "FAIL: cmake --install"; exit 1; }

bin=$prefix/bin
[[ -x $bin/vestra && ! -L $bin/vestra ]] || fail "bin/vestra missing"
[[ -L $bin/vestra-norsar && $(readlink "$bin/vestra-norsar") == vestra ]] ||
    fail "bin/vestra-norsar is not a link to vestra"
[[ $(readlink -f "$bin/vestra-norsar") == "$(readlink -f "$bin/vestra")" ]] ||
    fail "bin/vestra-norsar does not resolve to bin/vestra"
[[ -s $prefix/share/man/man1/vestra.1 ]] || fail "share/man/man1/vestra.1 missing"
comp=$prefix/share/bash-completion/completions
[[ -s $comp/vestra ]] || fail "completion script missing"
[[ -L $comp/vestra-norsar && $(readlink "$comp/vestra-norsar") == vestra ]] ||
    fail "completion link for vestra-norsar missing"
grep -qx "$bin/vestra-norsar" "$build/install_manifest.txt" ||
    fail "link not in the install manifest"
# Installing again over the first installation works.
"$cmake" --install "$build" --prefix "$prefix" >"$tmp/install.log" 2>&1 ||
    fail "second cmake --install"

# The installed names run, from a scratch directory: the listing, and a
# location run that must not leave a run log behind.
mkdir "$tmp/run" && cd "$tmp/run" || exit 1
for name in vestra vestra-norsar; do
    "$bin/$name" --display >"$tmp/$name.display" ||
        fail "$name --display: status $?"
    cmp -s "$tmp/$name.display" <("$build/vestra" --display) ||
        fail "$name --display differs from the built program's listing"
    "$bin/$name" --no-log --kiruna=111 --lycksele=66 >"$tmp/$name.out" 2>&1 ||
        fail "$name location run: status $?"
    [[ -s $tmp/$name.out ]] || fail "$name location run wrote nothing"
    "$bin/$name" --no-log --kiruna=111 >/dev/null 2>&1
    (($? == 1)) || fail "$name with one station: status is not 1"
done
[[ ! -e logfile ]] || fail "--no-log left a run log"

# vestra-fix, its manual page and its completion, and it runs.
[[ -x $bin/vestra-fix ]] || fail "bin/vestra-fix missing"
[[ -s $prefix/share/man/man1/vestra-fix.1 ]] ||
    fail "share/man/man1/vestra-fix.1 missing"
[[ -s $comp/vestra-fix ]] || fail "completion script of vestra-fix missing"
printf 'E1 Kiruna - - 111\nE1 Lycksele - - 66\n' |
    "$bin/vestra-fix" --format=json >"$tmp/fix.out" 2>&1 ||
    fail "vestra-fix run: status $?"
grep -q '^{"event":"E1","status":"ok",' "$tmp/fix.out" ||
    fail "vestra-fix wrote: $(cat "$tmp/fix.out")"
"$bin/vestra-fix" --format=xml </dev/null >/dev/null 2>&1
(($? == 1)) || fail "vestra-fix with a bad option: status is not 1"

# vestra-map, its manual page and its completion.
[[ -x $bin/vestra-map ]] || fail "bin/vestra-map missing"
[[ -s $prefix/share/man/man1/vestra-map.1 ]] || fail "vestra-map.1 missing"
[[ -s $comp/vestra-map ]] || fail "vestra-map completion missing"
"$bin/vestra-map" --help >/dev/null || fail "vestra-map --help: status $?"

# vestra-assoc, its manual page and its completion, and it runs.
[[ -x $bin/vestra-assoc ]] || fail "bin/vestra-assoc missing"
[[ -s $prefix/share/man/man1/vestra-assoc.1 ]] || fail "vestra-assoc.1 missing"
[[ -s $comp/vestra-assoc ]] || fail "vestra-assoc completion missing"
printf '%s\n' '[{"Name": "A", "Latitude": 60, "Longitude": 10, "Back Azimuth": 90, "Event": ""}]' |
    "$bin/vestra-assoc" --unassociated=rest.json >"$tmp/assoc.out" 2>&1 ||
    fail "vestra-assoc run: status $?"
[[ $(cat "$tmp/assoc.out") == $'[\n]' ]] ||
    fail "vestra-assoc wrote: $(cat "$tmp/assoc.out")"
grep -q '"Name": "A".*"Event": ""}$' rest.json ||
    fail "vestra-assoc's unassociated file: $(cat rest.json)"

# The Python package, when it was built: into the site directory of a
# prefix other than /usr and /usr/local, and it imports and locates there.
if [[ -d $build/python/vestra ]]; then
    site=$(echo "$prefix"/lib/python3.*/site-packages)
    [[ -f $site/vestra/__init__.py && -f $site/vestra/__init__.pyi ]] ||
        fail "the package vestra is not in $site"
    ls "$site"/vestra/_vestra.*.so >/dev/null 2>&1 ||
        fail "the extension _vestra is not in $site/vestra"
    PYTHONPATH=$site /usr/bin/python3 -c '
import vestra
(r,) = vestra.locate([
    {"Event": "E1", "Name": "KIR", "Latitude": 67.86, "Longitude": 20.42,
     "Back Azimuth": 111},
    {"Event": "E1", "Name": "LYC", "Latitude": 64.61, "Longitude": 18.75,
     "Back Azimuth": 66}])
assert r["status"] == "ok", r
assert vestra.__file__.startswith("'"$site"'"), vestra.__file__
' || fail "the installed package does not locate"
    grep -q "$site/vestra/__init__.py" "$build/install_manifest.txt" ||
        fail "the package is not in the install manifest"
fi

finish installation
