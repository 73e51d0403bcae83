# The southern pair of south_original with the back-azimuth method:
# located within 0.2 km of 33 S 27 E.
args: --no-log -c --norsar --new-station=A:-30:20:118.3736 --new-station=B:-36:22:55.5056
status: 0
empty: err log
