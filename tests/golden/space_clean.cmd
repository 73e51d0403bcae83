# The same in the other option order.
args: --no-log --space --clean -k 111 -l 66
status: 0
empty: err log
