# Standard deviation after a station azimuth: a value of blanks only is refused.
args: -k
arg: 111:   
args: -l 66
status: 1
empty: out log
