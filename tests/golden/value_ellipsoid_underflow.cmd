# --ellipsoid: "1e-999" reads 1.
args: --ellipsoid
arg: 1e-999
args: -k 111 -l 66
status: 0
