args: --no-log --gps -k 111 -l 66 -k 200
status: 0
empty: err log
