# A station at the north pole with one at 60 N (original method).
args: --original --new-station=N:90:0:10 --new-station=B:60:10:20
status: 0
empty: err
