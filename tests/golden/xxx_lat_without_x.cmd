args: --xxx-lat=60 -k 111 -l 66
status: 1
empty: out log
