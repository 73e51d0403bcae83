# 95 followed by 131000 bytes of text: out of range, the value echoed cut.
args: -x 10 --xxx-lat
arg: 95
arg-append: 131000 x
args: -k 111
status: 1
log-lines: 0
