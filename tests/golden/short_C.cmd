# -C is accepted by the option reader but handled by no one.
args: -C
status: 1
empty: log
