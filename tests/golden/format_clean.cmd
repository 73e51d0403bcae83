# Clean format of the typical request (manual page, README).
args: --no-log --clean --kiruna=111 --lycksele=66
status: 0
empty: err log
