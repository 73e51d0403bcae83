args: --new-station=OnlyName
status: 1
log-lines: 0
