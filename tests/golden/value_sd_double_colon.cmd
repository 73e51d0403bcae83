# "111::3": the sd starts at the first colon and ":3" is not a number.
args: -k 111::3 -l 66
status: 1
empty: out log
