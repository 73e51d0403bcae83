# --sbaz: a number beyond the doubles is refused as out of range.
args: --norsar --sbaz
arg: 1e999
args: -k 111 -l 66
status: 1
empty: out log
