# ":3": no azimuth before the colon.
args: -k :3 -l 66
status: 1
empty: out log
