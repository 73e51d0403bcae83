args: --new-station=OnlyName
status: 1
empty: out log
