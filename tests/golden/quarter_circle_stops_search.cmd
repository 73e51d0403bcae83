# A crossing more than 90 degrees away ends the search at the first trial.
args: --no-log --debug --norsar --new-station=A:10:0:100 --new-station=B:10:20:80
status: 0
empty: out log
