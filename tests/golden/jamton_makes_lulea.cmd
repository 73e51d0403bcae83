# --jamton makes the catalog station "Lulea" (its name shows in the debug trace).
args: --no-log --debug --jamton=60 --kiruna=130
status: 0
empty: log
