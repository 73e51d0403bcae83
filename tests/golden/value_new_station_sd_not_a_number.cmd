# --new-station: an sd field without a number reads 0: located.
args: --norsar --sbaz=1000
arg: --new-station=A:67.8:20.4:111.0311:x
arg: --new-station=B:64.0:14.0:66.4115:x
status: 0
empty: err
