args: --new-station=A:60:15:120 --frobnicate
status: 1
empty: log
