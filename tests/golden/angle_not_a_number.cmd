# A tolerance that is not a number is refused before anything is written.
args: --new-station=A:67.8:20.4:111.0311 --new-station=B:64.0:14.0:66.4115 --angle=wide
status: 1
empty: out log
