args: -k 111:wide -l 66
status: 1
empty: out log
