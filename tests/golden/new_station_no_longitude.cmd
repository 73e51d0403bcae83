args: --new-station=A:60 --new-station=B:1:2:3
status: 1
empty: out log
