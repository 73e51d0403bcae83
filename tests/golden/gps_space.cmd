args: --no-log --space --gps -k 111 -l 66
status: 0
