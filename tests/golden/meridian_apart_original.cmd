# The stations of meridian_original aimed at 22 N 175 W, away from the
# meridian: located as well as elsewhere (within 1 km).
args: --no-log -c --new-station=A:20:178:71.8423 --new-station=B:25:-178:136.7078
status: 0
empty: err log
