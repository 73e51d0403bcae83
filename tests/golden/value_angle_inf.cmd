# --angle: an infinity is refused as not a finite number.
args: --angle
arg: inf
args: -k 111 -l 66
status: 1
empty: out log
