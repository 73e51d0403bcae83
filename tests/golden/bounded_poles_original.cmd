# Stations at both poles (original method).
args: --original --new-station=N:90:0:180 --new-station=S:-90:0:0
status: 0
empty: err
