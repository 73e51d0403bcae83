# --xxx-long: a hexadecimal number is read as such.
args: -x 10 --xxx-long
arg: 0xf
args: -k 111
status: 0
