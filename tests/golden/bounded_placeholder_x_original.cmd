# The deprecated -x station left at its placeholder coordinates (original method).
args: --original -x 10 -l 66
status: 0
