# The catalog option --Jamton makes "Jamton"; --j2 makes "Lulea2".
args: --no-log --debug --Jamton=60 --j2=60 --kiruna=130
status: 0
