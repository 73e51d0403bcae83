# --sbaz: text after the number is ignored.
args: --norsar --sbaz
arg: 2deg
args: -k 111 -l 66
status: 0
empty: err
