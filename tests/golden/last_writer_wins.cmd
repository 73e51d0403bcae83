args: --no-log --gps --json --clean --normal -k 111 -l 66
status: 0
empty: err log
