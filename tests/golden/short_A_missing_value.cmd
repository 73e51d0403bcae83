args: -k 10 -A
status: 1
empty: log
