# --ellipsoid: "inf" has no digits.
args: --ellipsoid
arg: inf
args: -k 111 -l 66
status: 1
empty: out log
