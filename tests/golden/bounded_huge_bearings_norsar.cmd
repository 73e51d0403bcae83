# Bearings of 1e300 (norsar method).
args: --norsar -k 1e300 -l -1e300
status: 0
empty: err
