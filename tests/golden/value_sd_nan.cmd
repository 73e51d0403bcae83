# Standard deviation after a station azimuth: a not-a-number is refused as not a finite number.
args: -k
arg: 111:nan
args: -l 66
status: 1
empty: out log
