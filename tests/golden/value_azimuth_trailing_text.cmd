# Station azimuth: text after the number is ignored.
args: -k
arg: 111deg
args: -l 66
status: 0
empty: err
