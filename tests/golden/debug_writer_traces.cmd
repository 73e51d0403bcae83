# A writer made after --debug traces its construction.
args: --no-log --debug --json -k 111 -l 66
status: 0
empty: log
