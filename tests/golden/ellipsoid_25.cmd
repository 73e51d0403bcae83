args: --no-log --ellipsoid 25 -k 111 -l 66
status: 0
empty: err log
