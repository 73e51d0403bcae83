# --xxx-lat: a hexadecimal number is read as such.
args: -x 10 --xxx-lat
arg: 0x3c
args: -k 111
status: 0
