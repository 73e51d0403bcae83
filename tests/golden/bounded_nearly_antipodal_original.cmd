# Stations nearly antipodal: the geodesic iteration is capped (original method).
args: --original --new-station=A:0:0:90 --new-station=B:0.5:179.5:270
status: 0
empty: err
