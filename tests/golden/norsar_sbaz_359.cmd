# From about 358.9 degrees the measured bearings fail and an offset
# pair of bearings is reported.
args: --no-log -c --norsar --sbaz=359 --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err log
