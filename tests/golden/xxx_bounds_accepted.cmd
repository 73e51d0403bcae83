args: --no-log -x 10 --xxx-lat=-90 --xxx-long=180 --xxx-lat=90 --xxx-long=-180 --xxx-lat=66 --xxx-long=30 -k 111
status: 0
empty: log
