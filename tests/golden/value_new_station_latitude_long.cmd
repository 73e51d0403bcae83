# --new-station: a latitude of 131000 nines is refused.
arg: --new-station=A:
arg-append: 131000 9
arg-append: 1 :20.4:111.0311
args: --new-station=B:64.0:14.0:66.4115
status: 1
empty: out log
