# vestra-fix --format=quakeml on the README's example: one QuakeML 1.2
# document with the event's origin, its four arrivals and picks.
program: vestra-fix
args: --format=quakeml fix_events.txt
file: fix_events.txt
status: 0
empty: err log
