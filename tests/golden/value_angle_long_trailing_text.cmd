# 10 followed by 131000 bytes of text reads 10.
args: --angle
arg: 10
arg-append: 131000 x
args: -k 111 -l 66
status: 0
empty: err
