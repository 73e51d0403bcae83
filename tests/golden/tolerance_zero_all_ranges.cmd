# With tolerance 0 all three ranges are searched; the last trial (-1.9) is shown.
args: --no-log --angle=0 --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err log
