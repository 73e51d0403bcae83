# --all adds the 55 catalog options to the help text.
args: --all
status: 1
empty: err log
