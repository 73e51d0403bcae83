"""The Python package vestra against the programs it binds (VESTRA_FIX,
VESTRA, VESTRA_ASSOC) and GeographicLib; the package comes from PYTHONPATH."""

import concurrent.futures
import contextlib
import doctest
import io
import json
import math
import os
import pathlib
import random
import re
import subprocess

import numpy as np
import pytest
from geographiclib.geodesic import Geodesic

import vestra

VESTRA_FIX = os.environ.get("VESTRA_FIX", "vestra-fix")
VESTRA = os.environ.get("VESTRA", "vestra")
VESTRA_ASSOC = os.environ.get("VESTRA_ASSOC", "vestra-assoc")
README = os.environ.get("VESTRA_README")
DETECTIONS = pathlib.Path(__file__).parent / "detections"  # InfraPy's example

STATIONS = {"KIR": (67.86, 20.42), "LYC": (64.61, 18.75), "SUN": (62.39, 17.31),
            "VAA": (63.10, 23.60), "OUL": (65.01, 25.47), "I18DK": (76.53, -68.7)}


def catalogue(seed, events=12):
    """Detection dicts of `events` events heard at the stations above:
    bearings and arrival times of a source with errors, a wild bearing now
    and then, some detections without times, one event of a single
    detection (no fix) and one unnamed."""
    rng = random.Random(seed)
    detections = []
    for k in range(events):
        lat, lon = rng.uniform(58, 70), rng.uniform(10, 30)
        names = rng.sample(sorted(STATIONS), rng.randint(2, 5))
        if k == 3:
            names = names[:1]
        for name in names:
            g = Geodesic.WGS84.Inverse(*STATIONS[name], lat, lon)
            d = {"Name": name, "Latitude": STATIONS[name][0],
                 "Longitude": STATIONS[name][1],
                 "Back Azimuth": round(g["azi1"] % 360 + rng.gauss(0, 2), 2)}
            if rng.random() < 0.1:
                d["Back Azimuth"] = round(rng.uniform(0, 360), 2)
            if k != 5:
                d["Event"] = f"E{seed}-{k}"
            if rng.random() < 0.8:
                t = 1.7e9 + 86400 * k + g["s12"] / 300 + rng.gauss(0, 5)
                d["Peak F-Stat Time (UTC)"] = np.datetime_as_string(
                    np.datetime64(int(t * 1e3), "ms"))
            detections.append(d)
    rng.shuffle(detections)  # events are gathered by "Event" wherever
    return detections


def run(program, *args, cwd=None):
    done = subprocess.run([program, *args], capture_output=True, text=True,
                          cwd=cwd, check=False)
    return done.returncode, done.stdout, done.stderr


SETTINGS = [
    ({}, []),
    ({"sigma": 2.5, "celerity": (0.25, 0.31), "pick_error": 4,
      "ellipsoid": 15, "jobs": 3},
     ["--sigma=2.5", "--celerity=0.25:0.31", "--pick-error=4",
      "--ellipsoid=15", "--jobs=3"]),
    ({"celerity": 0.3, "pick_error": 0.5, "jobs": 1},
     ["--celerity=0.3", "--pick-error=0.5", "--jobs=1"]),
]


@pytest.mark.parametrize("settings,options", SETTINGS)
def test_results_are_the_programs(tmp_path, settings, options):
    detections = catalogue(len(options))
    path = tmp_path / "detections.json"
    path.write_text(json.dumps(detections))
    status, out, err = run(VESTRA_FIX, "--format=json", *options, str(path))
    assert status == 0, err
    results = vestra.locate(detections, **settings)
    assert results == [json.loads(line) for line in out.splitlines()]
    assert [json.dumps(r, separators=(",", ":")) for r in results] == \
        out.splitlines()
    assert {r["status"] for r in results} >= {"ok", "no-fix"}

    status, out, err = run(VESTRA_FIX, "--format=quakeml", *options,
                           str(path))
    assert vestra.to_quakeml(detections, **settings) == out

    timed = [r for r in results if r["origin_time"]]
    assert timed
    for r in timed:
        t = vestra.to_datetime(r["origin_time"])
        assert t.utcoffset().total_seconds() == 0
        assert t.isoformat(timespec="milliseconds")[:21] == \
            r["origin_time"][:21]


def test_datetimes_and_numpy_values_are_read_as_the_json_they_stand_for():
    detections = catalogue(7)
    converted = []
    for d in detections:
        d = dict(d, Latitude=np.float64(d["Latitude"]))
        if "Peak F-Stat Time (UTC)" in d:
            iso = d["Peak F-Stat Time (UTC)"]
            d["Peak F-Stat Time (UTC)"] = vestra.to_datetime(iso + "Z")
        converted.append(d)
    assert vestra.locate(converted) == vestra.locate(detections)


def refusal(tmp_path, options=(), detections=None):
    """What vestra-fix says about `options` or about `detections` in a file
    named "detections", without the program's name; its status."""
    args = list(options)
    if detections is not None:
        (tmp_path / "detections").write_text(json.dumps(detections))
        args.append("detections")
    status, _, err = run(VESTRA_FIX, *args, cwd=tmp_path)
    lines = [line.removeprefix("vestra-fix: ") for line in err.splitlines()
             if not line.startswith("Try ")]
    return status, "\n".join(lines)


GOOD = {"Event": "E", "Name": "KIR", "Latitude": 67.86, "Longitude": 20.42,
        "Back Azimuth": 111}


# The messages themselves are the command line's (cli_test.cpp): these rows
# show that each kind of setting reaches the same checks.
@pytest.mark.parametrize("settings,options", [
    ({"sigma": math.nan}, ["--sigma=nan"]),
    ({"celerity": (0.4, 0.3)}, ["--celerity=0.4:0.3"]),
    ({"pick_error": 0, "celerity": 0.3}, ["--pick-error=0", "--celerity=0.3"]),
    ({"ellipsoid": 2.5}, ["--ellipsoid=2.5"]),
    ({"jobs": 0}, ["--jobs=0"]),
])
def test_refused_settings_say_what_the_command_line_says(tmp_path, settings,
                                                         options):
    status, message = refusal(tmp_path, options)
    assert status == 1 and message
    with pytest.raises(ValueError) as raised:
        vestra.locate([GOOD], **settings)
    assert str(raised.value) == message
    with pytest.raises(ValueError):
        vestra.to_quakeml([GOOD], **settings)


@pytest.mark.parametrize("bad", [{"Latitude": 95}, {"Back Azimuth": math.inf},
                                 {"Event": [1]}])
def test_bad_detections_say_what_the_program_says(tmp_path, bad):
    detections = [GOOD, dict(GOOD, **bad), dict(GOOD, Event="F")]
    status, message = refusal(tmp_path, detections=detections)
    assert status == 1 and message.startswith("detections: [1]: ")
    with pytest.raises(ValueError) as raised:
        vestra.locate(detections)
    assert str(raised.value) == message


@pytest.mark.parametrize("settings,options", [
    ({}, []),
    ({"min_arrays": 3, "threshold": 10, "copies": 2, "jobs": 2},
     ["--min-arrays=3", "--threshold=10", "--copies=2", "--jobs=2"]),
])
def test_association_is_the_programs(tmp_path, settings, options):
    files = sorted(str(p) for p in DETECTIONS.glob("*.dets.json"))
    status, out, err = run(VESTRA_ASSOC, *options, "--unassociated=rest.json",
                           *files, cwd=tmp_path)
    assert status == 0, err
    detections = vestra.read_detections(files)
    with pytest.warns(UserWarning) if settings else contextlib.nullcontext():
        events, rest = vestra.associate(detections, unassociated=True,
                                        **settings)
    assert events == json.loads(out) and events
    assert rest == json.loads((tmp_path / "rest.json").read_text())
    assert len(events) + len(rest) == len(detections)
    located = vestra.locate(events)
    assert {r["status"] for r in located} == {"ok"}


@pytest.mark.parametrize("settings,option", [
    ({"min_arrays": 1}, "--min-arrays=1"), ({"sigma": 95}, "--sigma=95")])
def test_association_refuses_what_the_program_refuses(tmp_path, settings,
                                                      option):
    status, _, err = run(VESTRA_ASSOC, option, cwd=tmp_path)
    assert status == 1
    with pytest.raises(ValueError) as raised:
        vestra.associate([GOOD], **settings)
    assert "vestra-assoc: " + str(raised.value) == err.splitlines()[0]
    detections = [GOOD, dict(GOOD, Latitude=95)]
    (tmp_path / "detections").write_text(json.dumps(detections))
    status, _, err = run(VESTRA_ASSOC, "detections", cwd=tmp_path)
    with pytest.raises(ValueError) as raised:
        vestra.associate(detections)
    assert status == 1 and "vestra-assoc: " + str(raised.value) == err.strip()


def test_values_that_are_no_numbers_or_no_json_are_type_errors():
    for call in (lambda: vestra.locate([GOOD], sigma="4"),
                 lambda: vestra.locate([GOOD], celerity=(0.2, 0.3, 0.4)),
                 lambda: vestra.locate([dict(GOOD, Latitude=object())]),
                 lambda: vestra.locate("detections.json"),
                 lambda: vestra.geodesic.inverse(0, 0, 1, 1, ellipsoid="1")):
        with pytest.raises(TypeError):
            call()


def test_threads_locate_as_one_does():
    catalogues = [catalogue(seed, events=40) for seed in range(8)]
    alone = [vestra.locate(c, jobs=1) for c in catalogues]
    with concurrent.futures.ThreadPoolExecutor(max_workers=8) as pool:
        for _ in range(3):
            together = list(pool.map(
                lambda c: vestra.locate(c, jobs=2), catalogues))
            assert together == alone
        # vestra's crossing runs on process-wide settings: calls with
        # different ones side by side.
        pairs = [((4.62, 12.35, 220.48 + b / 100), (3.78, 2.91, 82.66),
                  {"method": m, "ellipsoid": e, "angle": a})
                 for b in range(50) for m in ("original", "back-azimuth")
                 for e, a in ((25, 45), (1, 45), (25, 1))]
        alone = [vestra.cross(*p[:2], **p[2]) for p in pairs]
        for _ in range(10):
            assert list(pool.map(lambda p: vestra.cross(*p[:2], **p[2]),
                                 pairs)) == alone


# ---------------------------------------------------------------------------
# Detection files


def test_files_read_give_the_programs_results(tmp_path):
    today = sorted(str(p) for p in DETECTIONS.glob("*.dets.json"))
    older = tmp_path / "older.json"  # "Peak F-Stat Time (UTC)", "Event"s
    older.write_text(json.dumps(catalogue(4)))
    text = tmp_path / "events.txt"  # a catalogue station, times or none
    text.write_text("E1 Bern - - 26.7 - 2004-06-02T17:19:34.123456\n"
                    "E1 Freyung - - 278.4 - 2004-06-02T17:20:16\n"
                    "E1 DBN 52.1 5.18 137.0\n"
                    "E2 X 10 10 30 - 2004-06-02T17:25:53.1\n")
    for inputs in (today, [str(older)], [str(text)], today + [str(older)]):
        status, out, err = run(VESTRA_FIX, "--format=json", *inputs)
        assert status == 0, err
        assert vestra.locate(vestra.read_detections(inputs)) == \
            [json.loads(line) for line in out.splitlines()], inputs

    # Elements as they stand, every key kept, the station of the file name
    # given to those without a name.
    read = vestra.read_detections(today[1])
    as_written = json.loads(pathlib.Path(today[1]).read_text())
    assert read == [dict(d, Name=d["Name"] or "I57US") for d in as_written]
    with open(today[1], "rb") as binary:
        assert vestra.read_detections(binary) == read
    unnamed = vestra.read_detections(io.StringIO(json.dumps(as_written[:1])))
    assert unnamed[0]["Name"] == "@33.606,-116.453"


def test_files_refused_say_what_the_program_says(tmp_path):
    (tmp_path / "bad.json").write_text(json.dumps(
        [GOOD, dict(GOOD, Latitude=-91), dict(GOOD, Name=7.5)]))
    for name in ("bad.json", "missing.json"):
        status, message = refusal(tmp_path, [name])
        assert status == 1 and message.startswith(name + ":")
        with pytest.raises(ValueError) as raised:
            vestra.read_detections(tmp_path / name)
        assert str(raised.value) == message.replace(
            name, str(tmp_path / name))
    # Hostile content of an open file: the program's message for the same
    # bytes on standard input, under the file's name.
    for content in (b"[" * 200000, b"\xff\xfe\x00", b'[{"Latitude": 1e999}]',
                    b"E1 A 1 2 3\n" + b"x" * 100000):
        done = subprocess.run([VESTRA_FIX], input=content,
                              capture_output=True, check=False)
        message = "\n".join(
            line.removeprefix("vestra-fix: ") for line in
            done.stderr.decode().splitlines() if not line.startswith("Try "))
        assert done.returncode == 1 and message.startswith("<stdin>")
        with pytest.raises(ValueError) as raised:
            vestra.read_detections(io.BytesIO(content))
        assert str(raised.value) == message.replace("<stdin>", "<file>")
    (tmp_path / "sigma.txt").write_text("E KIR 67.86 20.42 111 3\n")
    with pytest.raises(ValueError, match=r"sigma\.txt:1: sigma: "):
        vestra.read_detections(str(tmp_path / "sigma.txt"))


# ---------------------------------------------------------------------------
# Geodesics


def reference(ellipsoid):
    """GeographicLib's geodesic for a vestra ellipsoid."""
    a, b = {25: (6378137.0, 6356752.314245179),
            15: (6378388.0, 6356911.946128),
            1: (6378137.0, 6378137.0)}[ellipsoid]
    return Geodesic(a, (a - b) / a)


@pytest.mark.parametrize("ellipsoid", [25, 15, 1])
def test_geodesics_broadcast_and_agree_with_geographiclib(ellipsoid):
    rng = np.random.default_rng(ellipsoid)
    lat1 = rng.uniform(-89, 89, (40, 1))
    lon1 = rng.uniform(-180, 180, (40, 1))
    lat2 = rng.uniform(-89, 89, 30)
    lon2 = rng.uniform(-180, 180, 30)
    inv = vestra.geodesic.inverse(lat1, lon1, lat2, lon2, ellipsoid=ellipsoid)
    assert set(inv) == {"s12", "azi1", "azi2"}
    assert all(v.shape == (40, 30) for v in inv.values())
    g = reference(ellipsoid)
    checked = 0
    for i in range(40):
        for j in range(30):
            r = g.Inverse(lat1[i, 0], lon1[i, 0], lat2[j], lon2[j])
            if r["a12"] > 170:  # Vincenty does not settle near antipodes
                continue
            checked += 1
            assert inv["s12"][i, j] == pytest.approx(r["s12"], abs=1e-3)
            for name in ("azi1", "azi2"):
                assert (inv[name][i, j] - r[name] + 180) % 360 - 180 == \
                    pytest.approx(0, abs=1e-7), name
            assert 0 <= inv["azi1"][i, j] < 360
    assert checked > 1000

    azi1 = rng.uniform(-360, 360, (5, 1, 1))
    s12 = rng.uniform(-1.9e7, 1.9e7, 7)
    fwd = vestra.geodesic.direct(lat1[:6], lon1[:6], azi1, s12,
                                 ellipsoid=ellipsoid)
    assert all(v.shape == (5, 6, 7) for v in fwd.values())
    for k in range(5):
        for i in range(6):
            for j in range(7):
                r = g.Direct(lat1[i, 0], lon1[i, 0], azi1[k, 0, 0], s12[j])
                assert fwd["lat2"][k, i, j] == pytest.approx(r["lat2"],
                                                             abs=1e-9)
                for name in ("lon2", "azi2"):
                    assert (fwd[name][k, i, j] - r[name] + 180) % 360 - \
                        180 == pytest.approx(0, abs=1e-8), name


def test_geodesics_of_scalars_are_floats_and_bad_points_nan():
    one = vestra.geodesic.inverse(67.86, 20.42, 64.61, 18.75)
    assert all(type(v) is np.float64 for v in one.values())
    r = Geodesic.WGS84.Inverse(67.86, 20.42, 64.61, 18.75)
    assert one["s12"] == pytest.approx(r["s12"], abs=1e-3)
    back = vestra.geodesic.direct(67.86, 20.42, one["azi1"], one["s12"])
    assert (back["lat2"], back["lon2"], back["azi2"]) == pytest.approx(
        (64.61, 18.75, one["azi2"]), abs=1e-9)
    bad = vestra.geodesic.inverse([91, 0, 0, math.nan], [0, math.inf, 0, 0],
                                  [0, 0, -90.5, 0], 0)
    assert np.isnan(bad["s12"]).all() and np.isnan(bad["azi2"]).all()
    assert np.isnan(vestra.geodesic.direct(0, 0, 0, [math.nan, math.inf])[
        "lat2"]).all()
    with pytest.raises(ValueError, match=r'^--ellipsoid: "0" is outside'):
        vestra.geodesic.direct(0, 0, 0, 0, ellipsoid=0)
    with pytest.raises(ValueError):
        vestra.geodesic.inverse([0, 1], 0, [0, 1, 2], 0)


# ---------------------------------------------------------------------------
# vestra's crossing


@pytest.mark.parametrize("method,option", [("original", []),
                                           ("back-azimuth", ["--norsar"])])
def test_crossings_are_vestras(method, option):
    pairs = [((67.86, 20.42, 111), (64.61, 18.75, 66)),
             ((67.86, 20.42, 111), (64.61, 18.75, 300)),     # apart
             ((60, 10, 45, 2.0), (60, 12, 315, 0.5)),
             ((10, 0, 45), (10, 0.5, 44.9)),                 # nearly parallel
             ((0, 179, 90), (1, -179, 200)),                 # antimeridian
             # the checks on the ellipsoid and the angle choose the
             # perturbation of the bearings
             ((21.48, 12.06, 189.98), (22.77, 12.78, 141.76)),
             ((4.62, 12.35, 220.48), (3.78, 2.91, 82.66)),
             ((1.01, 27.84, 187.54), (-1.12, 27.64, 10.65))]
    for s1, s2 in pairs:
        stations = [f"--new-station={n}:{s[0]}:{s[1]}:{s[2]}" +
                    (f":{s[3]}" if len(s) > 3 else "")
                    for n, s in (("A", s1), ("B", s2))]
        for ellipsoid, angle in ((25, 45), (1, 45), (25, 1)):
            status, out, err = run(VESTRA, "--no-log", "-c", *option,
                                   f"--ellipsoid={ellipsoid}",
                                   f"--angle={angle}", *stations)
            assert status == 0, err
            got = vestra.cross(s1, s2, method=method, ellipsoid=ellipsoid,
                               angle=angle)
            if out.startswith("-1000 -1000 "):
                assert got is None, (s1, s2)
            else:
                lon, lat = out.split()[:2]
                assert (f"{got['longitude']:g}", f"{got['latitude']:g}") == \
                    (lon, lat), (s1, s2)
    with_detections = vestra.cross(
        {"Latitude": 67.86, "Longitude": 20.42, "Back Azimuth": 111},
        {"Latitude": 64.61, "Longitude": 18.75, "Back Azimuth": 66},
        method=method)
    assert with_detections == vestra.cross((67.86, 20.42, 111),
                                           (64.61, 18.75, 66), method=method)


def test_crossings_refuse_bad_stations():
    for args, message in (
            (((95, 0, 1), (0, 0, 1)), 'station1: latitude: "95" is outside'),
            (((0, 0, 1), (0, 200, 1)), 'station2: longitude: "200" is outside'),
            (((0, 0, math.nan), (0, 1, 1)), "station1: back_azimuth: "),
            (((0, 0), (0, 1, 1)), "station1: (latitude"),
            (({"Latitude": 0, "Longitude": 0}, (0, 1, 1)),
             'station1: "Back Azimuth": missing')):
        with pytest.raises(ValueError, match="^" + re.escape(message)):
            vestra.cross(*args)
    for settings, message in (({"method": "norsar"}, "method: "),
                              ({"angle": 200}, 'angle: "200" is outside'),
                              ({"ellipsoid": 0}, "--ellipsoid: ")):
        with pytest.raises(ValueError, match="^" + re.escape(message)):
            vestra.cross((0, 0, 45), (0, 1, 315), **settings)


# ---------------------------------------------------------------------------
# The README's Python session


@pytest.mark.skipif(not README, reason="VESTRA_README not set")
def test_readme_session_runs(tmp_path, monkeypatch):
    text = open(README, encoding="utf-8").read()
    (found,) = re.finditer(
        r"<!-- python session -->\n```python\n(.*?)```", text, re.S)
    block, line = found[1], text[:found.start(1)].count("\n")
    golden = tmp_path / "tests" / "golden"
    golden.mkdir(parents=True)
    name = "fix_events.json"
    (golden / name).write_bytes(
        (pathlib.Path(__file__).parent / "golden" / name).read_bytes())
    monkeypatch.chdir(tmp_path)
    session = doctest.DocTestParser().get_doctest(block, {}, "README.md",
                                                  README, line)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    runner.run(session)
    assert runner.summarize(verbose=False).failed == 0
    assert (tmp_path / "events.xml").read_text().startswith("<?xml")
