# Northern mirror of south_original (30 N, 36 N, source 33 N 27 E):
# located within 0.5 km.
args: --no-log -c --new-station=A:30:20:61.6264 --new-station=B:36:22:124.4944
status: 0
empty: err log
