# --ellipsoid: "12.9" reads 12.
args: --ellipsoid
arg: 12.9
args: -k 111 -l 66
status: 0
