# Three stations, one bearing with its own deviation, tolerance 10,
# the International ellipsoid (manual page).
args: --no-log -v 10 --ellipsoid=15 -k 111:0.5 -l 66 --Uppsala=20
status: 0
empty: log
