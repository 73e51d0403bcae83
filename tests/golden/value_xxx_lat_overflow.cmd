# --xxx-lat: a number beyond the doubles is refused as out of range.
args: -x 10 --xxx-lat
arg: 1e999
args: -k 111
status: 1
empty: out log
