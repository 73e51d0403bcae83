# --angle: a hexadecimal number is read as such.
args: --angle
arg: 0xa
args: -k 111 -l 66
status: 0
empty: err
