# -x with an empty azimuth is refused after the deprecation line.
args: -x
arg:
args: -k 111
status: 1
empty: out log
