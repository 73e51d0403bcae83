args: --no-log --json --space -k 111 -l 66
status: 0
empty: err log
