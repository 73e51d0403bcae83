# --sbaz: a value without a leading number is refused.
args: --norsar --sbaz
arg: north
args: -k 111 -l 66
status: 1
empty: out log
