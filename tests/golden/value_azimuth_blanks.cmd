# Station azimuth: a value of blanks only is refused.
args: -k
arg:    
args: -l 66
status: 1
empty: out log
