# Standard deviation after a station azimuth: text after the number is ignored.
args: -k
arg: 111:3deg
args: -l 66
status: 0
empty: err
