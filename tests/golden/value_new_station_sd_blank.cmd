# --new-station: a blank sd field keeps the --sbaz value (1000): not located.
args: --norsar --sbaz=1000
arg: --new-station=A:67.8:20.4:111.0311: 
arg: --new-station=B:64.0:14.0:66.4115: 
status: 0
empty: err
