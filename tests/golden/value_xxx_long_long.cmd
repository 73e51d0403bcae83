# --xxx-long: a value of 131000 nines is refused as out of range; the message shows only its start.
args: -x 10 --xxx-long
arg-repeat: 131000 9
args: -k 111
status: 1
empty: out log
