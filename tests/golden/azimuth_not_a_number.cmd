args: -k north -l 66
status: 1
log-lines: 0
