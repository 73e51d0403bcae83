# --space: the clean lines still end in a line end, and one more follows.
args: --no-log --clean --space -k 111 -l 66
status: 0
empty: err log
