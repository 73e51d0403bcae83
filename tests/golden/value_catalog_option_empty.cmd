# A catalog option given with "=" and nothing after it is refused.
args: --Jamton= -k 111
status: 1
empty: out log
