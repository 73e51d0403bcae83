# --xxx-long: a not-a-number is refused as not a finite number.
args: -x 10 --xxx-long
arg: nan
args: -k 111
status: 1
empty: out log
