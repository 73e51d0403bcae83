# --ellipsoid: text after the digits is ignored.
args: --ellipsoid
arg: 12x
args: -k 111 -l 66
status: 0
