# The deprecated -x station left at its placeholder coordinates (norsar method).
args: --norsar -x 10 -l 66
status: 0
