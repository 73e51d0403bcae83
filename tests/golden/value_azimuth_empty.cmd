# Station azimuth: an empty value is refused.
args: -k
arg: 
args: -l 66
status: 1
empty: out log
