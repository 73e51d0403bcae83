args: -k north -l 66
status: 1
empty: out log
