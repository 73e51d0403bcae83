# InfraPy's association example, four arrays and 28 detections with empty
# names and events: three events, labelled from their origin times, in
# vestra-fix's text format (the README's example).
program: vestra-assoc
file: ../detections/DLIAR.dets.json
file: ../detections/I57US.dets.json
file: ../detections/NVIAR.dets.json
file: ../detections/PDIAR.dets.json
args: --format=text DLIAR.dets.json I57US.dets.json NVIAR.dets.json PDIAR.dets.json
status: 0
empty: err log
