# --xxx-long: text after the number is ignored.
args: -x 10 --xxx-long
arg: 15deg
args: -k 111
status: 0
