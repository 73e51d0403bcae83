# --new-station: an empty latitude ("A::1:2:3") is refused.
args: --new-station=A::1:2:3 --new-station=B:64.0:14.0:66.4115
status: 1
empty: out log
