args: -x 10 --xxx-long=east
status: 1
empty: out log
