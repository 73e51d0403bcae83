# An unambiguous prefix stands for its option.
args: --disp
status: 0
empty: err log
