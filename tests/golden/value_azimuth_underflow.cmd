# Station azimuth: a number below the smallest double reads as 0 and is accepted.
args: -k
arg: 1e-999
args: -l 66
status: 0
empty: err
