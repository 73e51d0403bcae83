# Bad detections are reported with line and field, the rest is associated,
# and the status is 1.
program: vestra-assoc
args: --format=text
stdin: assoc_bad.txt
status: 1
empty: out log
