# --xxx-long: a value of blanks only is refused.
args: -x 10 --xxx-long
arg:    
args: -k 111
status: 1
empty: out log
