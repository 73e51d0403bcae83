# Station azimuth: a hexadecimal number is read as such.
args: -k
arg: 0x6f
args: -l 66
status: 0
empty: err
