# Three sources give three pairs, in the order A-B, A-C, B-C.
args: --no-log --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115 --new-station=C:62.0:25.0:20
status: 0
empty: err log
