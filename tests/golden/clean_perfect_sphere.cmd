# The ellipsoid of the check also measures the travel times.
args: --no-log --clean --ellipsoid=1 -k 111 -l 66
status: 0
empty: log
