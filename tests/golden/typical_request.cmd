# The typical request: two catalog stations, the normal writer.
args: --kiruna=111 --lycksele=66
status: 0
empty: err
