# The placeholder stations at 1000/1000 of the catalog (original method).
args: --original --XXX 10 --Default 111 -k 111
status: 0
empty: err
