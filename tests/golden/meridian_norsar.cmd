# meridian_original with the back-azimuth method: located.
args: --no-log -c --norsar --new-station=A:20:178:168.7247 --new-station=B:25:-178:187.6151
status: 0
empty: err log
