# JSON format of the typical request (manual page, README).
args: --no-log --json --kiruna=111 --lycksele=66
status: 0
empty: err log
