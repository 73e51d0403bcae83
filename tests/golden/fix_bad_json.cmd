# Detection JSON on standard input with bad elements: each is reported with
# its index and key, the others are located, every event gets one record,
# and the status is 1.
program: vestra-fix
args: --format=json
stdin: fix_bad.json
status: 1
empty: log
