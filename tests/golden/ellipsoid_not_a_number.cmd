args: --ellipsoid=wgs -k 111 -l 66
status: 1
empty: out log
