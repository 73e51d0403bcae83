# The same catalog station twice is one pair, never located.
args: --no-log -k 10 -k 20
status: 0
empty: err log
