# --xxx-lat: an empty value is refused.
args: -x 10 --xxx-lat
arg: 
args: -k 111
status: 1
empty: out log
