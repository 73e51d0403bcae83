# Stations at the poles through the JSON writer.
args: --json --new-station=N:90:0:180 --new-station=S:-90:0:0 -k 111
status: 0
empty: err
