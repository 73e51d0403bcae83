args: -k 111:wide -l 66
status: 1
