# The tolerance is read after all options, so its place does not matter.
args: --no-log --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115 -v 0
status: 0
empty: err log
