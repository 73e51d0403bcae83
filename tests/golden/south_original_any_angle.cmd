# Southern stations (10 S 10 E, 20 S 15 E) aimed at 15 S 20 E: with a
# tolerance that passes everything, the original method reports the point
# mirrored into the northern hemisphere (15 N 5 E).
args: --no-log -c -v 180 --new-station=A:-10:10:117.9898 --new-station=B:-20:15:44.5979
status: 0
empty: err log
