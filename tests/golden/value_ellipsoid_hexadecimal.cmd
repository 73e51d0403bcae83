# --ellipsoid: "0x19" reads 0, an invalid ellipsoid.
args: --ellipsoid
arg: 0x19
args: -k 111 -l 66
status: 1
empty: out log
