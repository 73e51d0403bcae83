# Bearings of 1e300 (original method).
args: --original -k 1e300 -l -1e300
status: 0
empty: err
