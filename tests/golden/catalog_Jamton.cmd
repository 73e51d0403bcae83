# The catalog option --Jamton makes the station "Jamton".
args: --no-log --debug --Jamton=60 --kiruna=130
status: 0
empty: log
