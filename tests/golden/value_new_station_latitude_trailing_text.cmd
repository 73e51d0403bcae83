# --new-station: text after the latitude is ignored.
args: --new-station=A:67.8deg:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err
