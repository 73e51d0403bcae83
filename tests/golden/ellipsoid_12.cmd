# Any ellipsoid but WGS_84 is named on the standard error stream.
args: --no-log --ellipsoid=12 -k 111 -l 66
status: 0
empty: log
