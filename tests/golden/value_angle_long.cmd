# --angle: a value of 131000 nines is refused as out of range; the message shows only its start.
args: --angle
arg-repeat: 131000 9
args: -k 111 -l 66
status: 1
empty: out log
