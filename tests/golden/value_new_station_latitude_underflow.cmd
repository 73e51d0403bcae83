# --new-station: "1e-999" reads 0.
args: --new-station=A:1e-999:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err
