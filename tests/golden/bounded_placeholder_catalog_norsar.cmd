# The placeholder stations at 1000/1000 of the catalog (norsar method).
args: --norsar --XXX 10 --Default 111 -k 111
status: 0
empty: err
