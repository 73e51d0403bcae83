# --angle: text after the number is ignored.
args: --angle
arg: 10deg
args: -k 111 -l 66
status: 0
empty: err
