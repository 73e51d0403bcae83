# The back-azimuth method chosen by option (manual page).
args: --no-log --norsar --kiruna=111 --lycksele=66
status: 0
empty: err log
