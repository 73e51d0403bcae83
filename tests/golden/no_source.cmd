status: 1
empty: err log
