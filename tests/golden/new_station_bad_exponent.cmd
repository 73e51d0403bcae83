# Stream extraction refuses "60e" as a latitude.
args: --new-station=A:60e:10:20 --new-station=B:1:2:3
status: 1
empty: out log
