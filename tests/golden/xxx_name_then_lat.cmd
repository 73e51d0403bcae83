# After --xxx-name the source no longer counts as XXX.
args: -x 10 --xxx-name=Foo --xxx-lat=60
status: 1
empty: out log
