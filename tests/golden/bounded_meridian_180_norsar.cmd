# Stations on both sides of the 180 meridian (norsar method).
args: --norsar --new-station=A:10:180:90 --new-station=B:20:-180:270
status: 0
empty: err
