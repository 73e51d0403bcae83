# Kiruna-Lycksele is confirmed at once; every trial of Kiruna-Lulea fails, so
# that pair ends after its first outer pass with the verdicts the first pair
# left, is reported as not located, and leaves the offset range [0, 11) for
# Lycksele-Lulea, whose first pass fails as well.
args: --norsar -k 111 -l 66 --sbaz=5000 -j 200 --gps
status: 0
empty: err
