# --new-station: "0x10" reads 0 (stream extraction reads no hexadecimal).
args: --new-station=A:0x10:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err
