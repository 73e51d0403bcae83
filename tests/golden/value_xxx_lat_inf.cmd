# --xxx-lat: an infinity is refused as not a finite number.
args: -x 10 --xxx-lat
arg: inf
args: -k 111
status: 1
empty: out log
