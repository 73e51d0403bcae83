# Name, latitude and longitude but no azimuth.
args: --new-station=A:60:15
status: 1
empty: out log
