# A long value is quoted up to 64 bytes, but not into the middle of a
# character: the two-byte "é" that would straddle the cut is left out whole.
arg: --angle=
arg-append: 63 x
arg-append: 4 é
status: 1
empty: out log
