# Nearly antipodal and polar stations through the clean writer.
args: --clean --new-station=A:0:0:90 --new-station=B:0.5:179.5:270 --new-station=N:90:0:180
status: 0
empty: err
