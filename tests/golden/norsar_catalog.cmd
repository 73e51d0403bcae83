# The back-azimuth method on catalog stations.
args: --no-log --norsar -k 111 -l 66
status: 0
empty: err log
