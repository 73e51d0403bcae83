# The deprecation line comes first, then the range check.
args: -x 10 --xxx-lat=95 -k 111
status: 1
empty: out log
