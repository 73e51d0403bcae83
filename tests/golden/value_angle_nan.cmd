# --angle: a not-a-number is refused as not a finite number.
args: --angle
arg: nan
args: -k 111 -l 66
status: 1
empty: out log
