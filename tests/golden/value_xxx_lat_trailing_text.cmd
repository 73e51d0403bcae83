# --xxx-lat: text after the number is ignored.
args: -x 10 --xxx-lat
arg: 60deg
args: -k 111
status: 0
