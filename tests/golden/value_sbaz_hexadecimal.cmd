# --sbaz: a hexadecimal number is read as such.
args: --norsar --sbaz
arg: 0x2
args: -k 111 -l 66
status: 0
empty: err
