# --new-station: a name of 131000 bytes is accepted; the results show no name.
arg: --new-station=
arg-append: 131000 N
arg-append: 1 :67.8:20.4:111.0311
args: --new-station=B:64.0:14.0:66.4115
status: 0
empty: err
