# Standard deviation after a station azimuth: a value of 131000 nines is refused as out of range; the message shows only its start.
args: -k
arg: 111:
arg-append: 131000 9
args: -l 66
status: 1
empty: out log
