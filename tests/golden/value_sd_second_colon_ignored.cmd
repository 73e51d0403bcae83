# "111:3:4": the sd is 3, the rest is ignored.
args: -k 111:3:4 -l 66
status: 0
empty: err
