args: -k 111 -l 66
status: 0
log-lines: 1
