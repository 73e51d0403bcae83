args: --kir=10 --lycksele=66
status: 1
empty: log
