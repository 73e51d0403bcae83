# --new-station: an infinite longitude is refused.
args: --new-station=A:67.8:inf:111.0311 --new-station=B:64.0:14.0:66.4115
status: 1
empty: out log
