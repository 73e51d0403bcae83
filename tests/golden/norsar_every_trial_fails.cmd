# P-R: every trial reports an error, so the pair is not located even
# though the pair before it was; with the verdicts of P-Q still standing its
# search ends after the first outer pass (R's bearing left at 135 - 0.5).
args: --no-log --norsar --new-station=P:0:0:45 --new-station=Q:0:10:315 --new-station=R:0:179:135
status: 0
empty: err log
