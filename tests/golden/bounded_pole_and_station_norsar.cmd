# A station at the north pole with one at 60 N (norsar method).
args: --norsar --new-station=N:90:0:10 --new-station=B:60:10:20
status: 0
empty: err
