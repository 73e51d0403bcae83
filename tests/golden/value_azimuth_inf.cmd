# Station azimuth: an infinity is refused as not a finite number.
args: -k
arg: inf
args: -l 66
status: 1
empty: out log
