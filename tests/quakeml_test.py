"""vestra-fix --format=quakeml (VESTRA_FIX) read back with the standard
library's XML parser, against QuakeML 1.2's rules, the program's own JSON
for the same events, and GeographicLib."""

import datetime
import json
import math
import os
import re
import subprocess
import xml.etree.ElementTree as ET

import pytest
from geographiclib.geodesic import Geodesic

PROGRAM = os.environ.get("VESTRA_FIX", "vestra-fix")
Q = "{http://quakeml.org/xmlns/quakeml/1.2}"
B = "{http://quakeml.org/xmlns/bed/1.2}"
# ResourceIdentifier of the QuakeML 1.2 schema, restricted to ASCII.
RESOURCE_ID = re.compile(
    r"(smi|quakeml):[\w\d][\w\d\-\.\*\(\)_~']{2,}/[\w\d\-\.\*\(\)_~']"
    r"[\w\d\-\.\*\(\)\+\?_~'=,;#/&]*", re.ASCII)
MEAN_RADIUS_M = (2 * 6378137.0 + 6356752.314245179) / 3  # WGS 84

# A set-aside bearing (OUL), arrival times with a fraction, a detection
# without a time in a timed event, a located event whose only arrival time
# is set aside, bearings only, a given sigma, an ill-conditioned pair, three
# no-fix events (one without a time), and one name twice.
CATALOGUE = """\
bothnia LYC 64.61 18.75 120.05 - 2024-05-01T12:09:23.25
bothnia SUN 62.39 17.31 48.17 2.5 2024-05-01T12:16:16
bothnia VAA 63.10 23.60 313.77 - 2024-05-01T12:08:05
bothnia OUL 65.01 25.47 263.13 - 2024-05-01T12:13:21.000001
mixed LYC 64.61 18.75 120.05 - -
mixed SUN 62.39 17.31 48.17 - 2024-05-01T12:16:16
mixed VAA 63.10 23.60 313.77 - -
stray LYC 64.61 18.75 120.05
stray SUN 62.39 17.31 48.17
stray VAA 63.10 23.60 313.77
stray OUL 65.01 25.47 263.13 - 2024-05-01T12:13:21
bearings KIR 67.86 20.42 111 - -
bearings LYC 64.61 18.75 66 - -
bearings LYC 64.61 18.75 66.5 3 -
ill A 10 0 45
ill B 10 0.5 44.9
alone X 10 10 30 - 2024-05-01T12:00:00
apart A 10 0 270 - 2024-05-01T12:00:05
apart B 10 1 90 - 2024-05-01T12:00:01
apart C 20 0.5 0 - -
bearings KIR 67.86 20.42 111
bearings LYC 64.61 18.75 66
lone KIR 67.86 20.42 111
"""
STATIONS = {"LYC": (64.61, 18.75), "SUN": (62.39, 17.31),
            "VAA": (63.10, 23.60), "OUL": (65.01, 25.47),
            "KIR": (67.86, 20.42), "A": (10, 0), "B": (10, 0.5)}


def utc(iso):
    return datetime.datetime.fromisoformat(iso.removesuffix("Z") + "+00:00")


def run(*args, stdin=b""):
    done = subprocess.run([PROGRAM, *args], input=stdin, capture_output=True,
                          check=False)
    assert done.returncode == 0, done.stderr.decode(errors="replace")
    return done.stdout


def document(*args, stdin=b""):
    root = ET.fromstring(run("--format=quakeml", *args, stdin=stdin))
    assert root.tag == Q + "quakeml"
    (parameters,) = list(root)
    assert parameters.tag == B + "eventParameters"
    return parameters


def child(element, path):
    return element.find("/".join(B + p for p in path.split("/")))


def text(element, path):
    found = child(element, path)
    return None if found is None else found.text


def number(element, path):
    found = child(element, path)
    return None if found is None else float(found.text)


@pytest.fixture(scope="module")
def catalogue():
    events = document(stdin=CATALOGUE.encode()).findall(B + "event")
    results = [json.loads(line) for line in
               run("--format=json", stdin=CATALOGUE.encode()).splitlines()]
    groups = []  # the rows of each event: consecutive lines of one name
    for row in (line.split() for line in CATALOGUE.splitlines()):
        if not groups or groups[-1][0][0] != row[0]:
            groups.append([])
        groups[-1].append(row)
    assert len(events) == len(results) == len(groups)
    return list(zip(events, results, groups))


def untimed(rows):
    return all(len(r) < 7 or r[6] == "-" for r in rows)


def test_origins_carry_the_fix(catalogue):
    for event, result, rows in catalogue:
        assert child(event, "type").text == "not reported"
        assert child(event, "description/text").text == result["event"]
        origin = child(event, "origin")
        if untimed(rows):  # see test_events_without_times_keep_comments
            assert origin is None and child(event, "pick") is None
            continue
        if result["status"] == "no-fix":
            assert origin is None and child(event, "preferredOriginID") is None
            assert child(event, "comment/text").text.startswith("no-fix: ")
            continue
        assert child(event, "preferredOriginID").text == origin.get("publicID")
        ellipse = result["ellipse95"]
        # The constant elements are in the golden case fix_quakeml.
        for path, value in (
                ("latitude/value", result["latitude"]),
                ("longitude/value", result["longitude"]),
                ("originUncertainty/maxHorizontalUncertainty",  # metres
                 round(1000 * ellipse["semi_major_km"])),
                ("originUncertainty/minHorizontalUncertainty",
                 round(1000 * ellipse["semi_minor_km"])),
                ("originUncertainty/azimuthMaxHorizontalUncertainty",
                 ellipse["azimuth_deg"])):
            assert number(origin, path) == value, path
        comments = [c.text for c in origin.iter(B + "text")]
        assert (result["status"] == "ill-conditioned") == any(
            c.startswith("ill-conditioned: ") for c in comments)

        time = child(origin, "time")
        times = sorted(r[6] for r in rows if len(r) > 6 and r[6] != "-")
        if result["origin_time"]:
            assert child(time, "value").text == result["origin_time"]
            low, high = map(utc, result["origin_time95"])
            half = (high - low).total_seconds() / 2
            assert abs(number(time, "lowerUncertainty") - half) <= 0.06
            assert abs(number(time, "upperUncertainty") - half) <= 0.06
            assert number(time, "confidenceLevel") == 95
        else:
            assert utc(child(time, "value").text) == utc(times[0])
            assert child(time, "lowerUncertainty") is None

        arrivals = origin.findall(B + "arrival")
        fits = result["detections"]
        assert len(arrivals) == len(fits) == len(rows)
        quality = child(origin, "quality")
        assert number(quality, "associatedPhaseCount") == len(fits)
        assert number(quality, "usedPhaseCount") == sum(
            d["used"] for d in fits)
        assert number(quality, "associatedStationCount") == len(
            {r[1] for r in rows})
        assert number(quality, "usedStationCount") == len(
            {r[1] for r, d in zip(rows, fits) if d["used"]})
        for arrival, fit, row in zip(arrivals, fits, rows):
            assert child(arrival, "phase").text == "I"
            assert number(arrival, "backazimuthResidual") == \
                pytest.approx(fit["residual_deg"], abs=1e-3)
            assert number(arrival, "timeResidual") == (
                None if fit["residual_s"] is None
                else pytest.approx(fit["residual_s"], abs=0.01))
            assert number(arrival, "backazimuthWeight") == fit["used"]
            assert number(arrival, "timeWeight") == (
                fit["used"] and fit["residual_s"] is not None)


def test_arrivals_against_geographiclib(catalogue):
    for event, result, rows in catalogue:
        if result["status"] == "no-fix" or untimed(rows):
            continue
        origin = child(event, "origin")
        used = []
        for arrival, fit, row in zip(origin.findall(B + "arrival"),
                                     result["detections"], rows):
            g = Geodesic.WGS84.Inverse(result["latitude"],
                                       result["longitude"],
                                       *STATIONS[row[1]])
            degrees = g["s12"] / (MEAN_RADIUS_M * math.pi / 180)
            assert number(arrival, "azimuth") == pytest.approx(
                g["azi1"] % 360, abs=2e-3)
            assert number(arrival, "distance") == pytest.approx(degrees,
                                                                abs=2e-4)
            if fit["used"]:
                used.append((g["azi1"] % 360, degrees))
        # The quality figures of the used arrivals.
        quality = child(origin, "quality")
        azimuths, distances = (sorted(x) for x in zip(*used))
        gap = max(b - a for a, b in zip(azimuths, azimuths[1:] +
                                        [azimuths[0] + 360]))
        assert number(quality, "azimuthalGap") == pytest.approx(gap, abs=2e-3)
        assert (number(quality, "minimumDistance"),
                number(quality, "maximumDistance")) == pytest.approx(
                    (distances[0], distances[-1]), abs=2e-4)


def test_picks_carry_the_detections(catalogue):
    for event, result, rows in catalogue:
        if untimed(rows):
            continue
        picks = event.findall(B + "pick")
        assert len(picks) == len(rows)
        times = sorted(r[6] for r in rows if len(r) > 6 and r[6] != "-")
        # A detection without a time takes the origin's, else the earliest.
        stand_in = text(event, "origin/time/value") or (times + [None])[0]
        ids = {p.get("publicID") for p in picks}
        for arrival in event.iter(B + "arrival"):
            assert child(arrival, "pickID").text in ids
        for pick, row in zip(picks, rows):
            assert child(pick, "waveformID").get("stationCode") == row[1]
            assert number(pick, "backazimuth/value") == float(row[4])
            sigma = row[5] if len(row) > 5 and row[5] != "-" else "4"
            assert number(pick, "backazimuth/uncertainty") == float(sigma)
            own = len(row) > 6 and row[6] != "-"
            value = text(pick, "time/value")
            if own:
                assert utc(value) == utc(row[6])
                assert number(pick, "time/uncertainty") == 10
            else:
                assert value == stand_in or utc(value) == utc(stand_in)
                assert child(pick, "time/uncertainty") is None


def test_picks_give_the_slowness_of_the_trace_velocity(catalogue):
    # Seconds per degree of arc of the sphere of radius 6371.0088 km; no
    # element where the trace velocity is unknown or not a speed.
    km_per_degree = 6371.0088 * math.pi / 180
    velocities = [("Trace Vel. (m/s)", 340.0), ("Trace Velocity (m/s)", 5e3),
                  ("Trace Vel. (m/s)", None), ("Trace Vel. (m/s)", 0),
                  ("Trace Vel. (m/s)", -340), (None, None),
                  ("Trace Vel. (m/s)", 0.25)]
    detections = []
    for k, (key, v) in enumerate(velocities):
        lat, lon = STATIONS[["LYC", "SUN", "VAA", "OUL", "KIR"][k % 5]]
        d = {"Event": "E", "Name": f"S{k}", "Latitude": lat,
             "Longitude": lon, "Back Azimuth": 100 + 30 * k,
             "Time (UTC)": f"2024-05-01T12:0{k}:00"}
        if key:
            d[key] = v
        detections.append(d)
    (event,) = document(stdin=json.dumps(detections).encode()).findall(
        B + "event")
    picks = event.findall(B + "pick")
    assert len(picks) == len(velocities)
    for pick, (_, v) in zip(picks, velocities):
        got = number(pick, "horizontalSlowness/value")
        if v and v > 0:
            assert got == pytest.approx(km_per_degree / (v / 1000),
                                        abs=5e-4, rel=0)
            assert child(pick, "horizontalSlowness/uncertainty") is None
        else:
            assert got is None
    for event, _, _ in catalogue:  # a text list gives no trace velocity
        assert event.find(f".//{B}horizontalSlowness") is None


def test_events_without_times_keep_comments(catalogue):
    # QuakeML requires a time in every origin and pick: an event without
    # any arrival time has neither, and keeps what is known as comments.
    untimed_events = 0
    for event, result, rows in catalogue:
        for origin in event.findall(B + "origin"):
            assert text(origin, "time/value") is not None
        for pick in event.findall(B + "pick"):
            assert text(pick, "time/value") is not None
        if not untimed(rows):
            continue
        untimed_events += 1
        assert child(event, "origin") is None
        assert child(event, "pick") is None
        assert child(event, "preferredOriginID") is None
        comments = [c.text for c in event.findall(B + "comment/" + B + "text")]
        assert "no arrival time: no origin and no picks, which need a time" \
            in comments
        fix = [c for c in comments if c.startswith("fix at ")]
        if result["status"] == "no-fix":
            assert not fix
        else:
            lat, lon = map(float, re.match(r"fix at ([^,]+), ([^,]+)",
                                           fix[0]).groups())
            assert (lat, lon) == (result["latitude"], result["longitude"])
            assert ("ill-conditioned: " in fix[0]) == (
                result["status"] == "ill-conditioned")
            ellipse = result["ellipse95"]
            assert f"95% ellipse {round(1000 * ellipse['semi_major_km'])} m" \
                f" by {round(1000 * ellipse['semi_minor_km'])} m" in \
                "".join(comments)
        described = [c for c in comments if c.startswith("detection ")]
        assert len(described) == len(rows)
        for k, (line, row, fit) in enumerate(
                zip(described, rows, result["detections"]), 1):
            sigma = row[5] if len(row) > 5 and row[5] != "-" else "4"
            assert line.startswith(
                f"detection {k}: station {row[1]} at {float(row[2]):g}, "
                f"{float(row[3]):g}, back azimuth {float(row[4]):g} +- "
                f"{float(sigma):g} degrees"), line
            assert line.endswith(", set aside") == (
                result["status"] != "no-fix" and not fit["used"])
    assert untimed_events == 4


def test_identifiers_are_valid_unique_and_independent_of_jobs():
    # 150 events over three chunks of the pipeline, named A and B in turn.
    lines = "".join(f"{'AB'[k % 2]} KIR 67.86 20.42 {100 + k % 20} - "
                    f"2024-05-01T12:{k % 60:02}:00\n"
                    f"{'AB'[k % 2]} LYC 64.61 18.75 66\n" for k in range(150))
    outputs = {run("--format=quakeml", f"--jobs={jobs}",
                   stdin=lines.encode()) for jobs in (1, 3)}
    assert len(outputs) == 1
    root = ET.fromstring(outputs.pop())
    ids = [e.get("publicID") for e in root.iter() if e.get("publicID")]
    assert len(ids) == len(set(ids)) == 1 + 150 * 6
    for i in ids:
        assert RESOURCE_ID.fullmatch(i) and len(i) <= 255, i
    references = [e.text for e in root.iter()
                  if e.tag in (B + "pickID", B + "preferredOriginID")]
    assert set(references) <= set(ids)


def test_hostile_names_survive_escaping():
    names = [
        "a&b<c>d\"e'f]]>",        # markup
        "tab\there\nnew\rline",   # white space a parser would normalise
        "\u0000ctl\u001f\ufffe",  # not in XML 1.0: U+FFFD each
        "Ärøskøbing",             # eight characters are more than 8 bytes
        "SY.PDIAR", "IM.I57US..BDF", "St.Moritz", "x" * 300, "",
    ]
    detections = [{"Event": n, "Latitude": 10, "Longitude": 10,
                   "Back Azimuth": 30,
                   "Peak F-Stat Time (UTC)": "2024-05-01T12:00:00"} |
                  ({"Name": n} if n else {}) for n in names]
    events = document(stdin=json.dumps(detections).encode()).findall(
        B + "event")
    clean = [re.sub("[\u0000-\u0008\u000b\u000c\u000e-\u001f\ufffe]",
                    "\ufffd", n) for n in names]
    codes = [("XX", c[:8], None, None) for c in clean]
    codes[-1] = ("XX", "@10,10", None, None)  # named after its position
    codes[4:7] = [("SY", "PDIAR", None, None), ("IM", "I57US", "", "BDF"),
                  ("XX", "St.Morit", None, None)]
    for event, name, code in zip(events, clean, codes):
        assert text(event, "description/text") == (name or None)
        assert RESOURCE_ID.fullmatch(event.get("publicID"))
        stream = child(event, "pick/waveformID")
        assert (stream.get("networkCode"), stream.get("stationCode"),
                stream.get("locationCode"), stream.get("channelCode")) == code

    # Bytes that are not UTF-8 (a stray continuation byte, a cut sequence,
    # overlong forms, a surrogate): U+FFFD for each byte.
    raw = (b"E\xc3 ab\xffcd 10 10 30 - 2024-05-01T12:00:00\n"
           b"F \xc0\xaf\xed\xa0\x80\xe0\x80\xaf 10 10 30 - "
           b"2024-05-01T12:00:00\n")
    e, f = document(stdin=raw).findall(B + "event")
    assert text(e, "description/text") == "E\ufffd"
    assert child(e, "pick/waveformID").get("stationCode") == "ab\ufffdcd"
    assert child(f, "pick/waveformID").get("stationCode") == "\ufffd" * 8
