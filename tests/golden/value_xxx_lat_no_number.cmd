# --xxx-lat: a value without a leading number is refused.
args: -x 10 --xxx-lat
arg: north
args: -k 111
status: 1
empty: out log
