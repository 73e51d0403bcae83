# Stations on both sides of the 180 meridian (original method).
args: --original --new-station=A:10:180:90 --new-station=B:20:-180:270
status: 0
empty: err
