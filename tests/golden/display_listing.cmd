# The station listing: 56 lines, Default first and last.
args: --display
status: 0
empty: err log
