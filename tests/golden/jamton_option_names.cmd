# --jamton makes "Lulea", the catalog option --Jamton makes "Jamton".
args: --no-log --debug --jamton=100 --Jamton=100 --j2=5
status: 0
