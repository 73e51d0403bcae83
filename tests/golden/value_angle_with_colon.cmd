# --angle=10:20 reads 10; the rest is ignored.
args: --angle=10:20 -k 111 -l 66
status: 0
empty: err
