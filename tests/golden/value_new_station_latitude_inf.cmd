# --new-station: "inf" is refused.
args: --new-station=A:inf:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 1
empty: out log
