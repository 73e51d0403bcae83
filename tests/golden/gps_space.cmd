args: --no-log --space --gps -k 111 -l 66
status: 0
empty: err log
