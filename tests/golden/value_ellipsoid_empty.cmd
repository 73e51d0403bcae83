# --ellipsoid: an empty value is refused.
args: --ellipsoid
arg: 
args: -k 111 -l 66
status: 1
empty: out log
