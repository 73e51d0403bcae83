# The sample pair with the original method, clean format: compare
# norsar_adhoc_clean (the back-azimuth method on the same bearings).
args: --no-log -c --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115
status: 0
empty: err log
