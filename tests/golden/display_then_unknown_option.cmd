# Options after --display are not read.
args: --display --frobnicate -k
status: 0
empty: err log
