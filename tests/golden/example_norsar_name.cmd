# The back-azimuth method chosen by the program name (manual page).
argv0: vestra-norsar
args: --no-log --kiruna=111 --lycksele=66
status: 0
empty: err log
