# A-B exhausts every range, so A-C starts with offsets from 1.1 on
# (compare range_control_two_stations, where A-C alone confirms at once).
args: --no-log --angle=0.015 --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115 --new-station=C:62.0:25.0:20
status: 0
empty: err log
