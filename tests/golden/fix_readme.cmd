# vestra-fix on a text catalogue: catalogue stations and one given by its
# position, arrival times; the README's example.
program: vestra-fix
args: fix_events.txt
file: fix_events.txt
status: 0
empty: err log
