args: --new-station=A:60:15:120
status: 1
empty: log
