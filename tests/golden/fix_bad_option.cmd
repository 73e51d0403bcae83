# A refused command line: the message, the pointer to --help, status 1.
program: vestra-fix
args: --format=xml
status: 1
empty: out log
