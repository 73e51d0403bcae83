# A-C alone, for comparison with range_carried_three_stations.
args: --no-log --angle=0.015 --new-station=A:67.8:20.4:111.0311 --new-station=C:62.0:25.0:20
status: 0
empty: err log
