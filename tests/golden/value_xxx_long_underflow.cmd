# --xxx-long: a number below the smallest double reads as 0 and is accepted.
args: -x 10 --xxx-long
arg: 1e-999
args: -k 111
status: 0
