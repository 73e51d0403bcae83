# 95 followed by 200 bytes of text: out of range, the value echoed as typed.
args: -x 10 --xxx-lat
arg: 95
arg-append: 200 x
args: -k 111
status: 1
empty: out log
