# Huge coordinates through the GPS writer.
args: --gps --new-station=A:1e300:1e300:10 --new-station=B:-1e300:1e308:20 -k 111
status: 0
empty: err
