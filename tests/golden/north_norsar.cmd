# Northern mirror of south_norsar.
args: --no-log -c --norsar --new-station=A:30:20:61.6264 --new-station=B:36:22:124.4944
status: 0
empty: err log
