# P-R: every trial reports an error, so the pair is not located even
# though the pair before it was.
args: --no-log --norsar --new-station=P:0:0:45 --new-station=Q:0:10:315 --new-station=R:0:179:135
status: 0
empty: err log
