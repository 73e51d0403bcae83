# Stations on both sides of the 180th meridian (20 N 178 E, 25 N 178 W),
# bearings aimed at 10 N 180 E: the two walks of the original method end on
# either side of the meridian, their mean longitude is near 0: not located.
args: --no-log -c --new-station=A:20:178:168.7247 --new-station=B:25:-178:187.6151
status: 0
empty: err log
