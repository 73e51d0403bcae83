# Stations at both poles (norsar method).
args: --norsar --new-station=N:90:0:180 --new-station=S:-90:0:0
status: 0
empty: err
