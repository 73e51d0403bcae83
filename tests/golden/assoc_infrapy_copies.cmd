# The same as detection JSON, every member of the input kept and the names
# taken from the files, the files in another order; four shifted copies
# estimate the false events, on the standard error stream.
program: vestra-assoc
file: ../detections/DLIAR.dets.json
file: ../detections/I57US.dets.json
file: ../detections/NVIAR.dets.json
file: ../detections/PDIAR.dets.json
args: --copies=4 PDIAR.dets.json NVIAR.dets.json I57US.dets.json DLIAR.dets.json
status: 0
empty: log
