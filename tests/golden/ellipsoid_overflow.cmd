args: --ellipsoid=99999999999999999999999 -k 111 -l 66
status: 1
empty: out log
