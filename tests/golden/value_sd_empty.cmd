# Standard deviation after a station azimuth: an empty value is refused.
args: -k
arg: 111:
args: -l 66
status: 1
empty: out log
