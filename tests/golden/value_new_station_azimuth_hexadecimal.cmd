# --new-station: "0x6f" reads 0 as the azimuth.
args: --new-station=A:67.8:20.4:0x6f --new-station=B:64.0:14.0:66.4115
status: 0
empty: err
