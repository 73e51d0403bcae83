# --ellipsoid: "nan" has no digits.
args: --ellipsoid
arg: nan
args: -k 111 -l 66
status: 1
empty: out log
