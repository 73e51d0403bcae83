# Travel times at 330 m/s; the identical pair gets the fixed invalid line.
args: --no-log --clean -k 111 -l 66 -k 200
status: 0
empty: err log
