status: 1
