# --ellipsoid: 131000 nines do not fit and make an invalid ellipsoid.
args: --ellipsoid
arg-repeat: 131000 9
args: -k 111 -l 66
status: 1
empty: out log
