# The run log cannot be opened: one message, the run goes on.
mkdir: logfile
args: -k 111 -l 66
status: 0
empty: log
