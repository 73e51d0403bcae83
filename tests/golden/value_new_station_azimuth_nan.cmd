# --new-station: a not-a-number azimuth is refused.
args: --new-station=A:67.8:20.4:nan --new-station=B:64.0:14.0:66.4115
status: 1
empty: out log
