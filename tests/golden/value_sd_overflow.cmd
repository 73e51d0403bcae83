# Standard deviation after a station azimuth: a number beyond the doubles is refused as out of range.
args: -k
arg: 111:1e999
args: -l 66
status: 1
empty: out log
