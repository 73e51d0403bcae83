# Standard deviation after a station azimuth: a hexadecimal number is read as such.
args: -k
arg: 111:0x3
args: -l 66
status: 0
empty: err
