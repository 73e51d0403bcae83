# A tolerance and deviation of 1e300 (norsar method).
args: --norsar --angle 1e300 --sbaz 1e300 -k 111 -l 66 -u 5
status: 0
empty: err
