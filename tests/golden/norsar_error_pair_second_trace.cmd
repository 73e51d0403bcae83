# The same run traced: 11 failed trials for Kiruna-Lulea and 11 for
# Lycksele-Lulea, not the 545 of a search that widens to [21, 39).
args: --no-log --debug --norsar -k 111 -l 66 --sbaz=5000 -j 200 --gps
status: 0
empty: log
