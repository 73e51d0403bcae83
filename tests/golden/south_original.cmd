# Southern hemisphere: A 30 S 20 E, B 36 S 22 E, bearings the geodesic
# azimuths to 33 S 27 E. The original method crosses them in the northern
# hemisphere, more than a quarter circle away: not located.
args: --no-log -c --new-station=A:-30:20:118.3736 --new-station=B:-36:22:55.5056
status: 0
empty: err log
