# --sbaz: a number below the smallest double reads as 0 and is accepted.
args: --norsar --sbaz
arg: 1e-999
args: -k 111 -l 66
status: 0
empty: err
