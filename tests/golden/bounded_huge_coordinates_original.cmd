# Coordinates of 1e300 and 1e308 (original method).
args: --original --new-station=A:1e300:1e300:10 --new-station=B:-1e300:1e308:20
status: 0
empty: err
