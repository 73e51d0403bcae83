"""Infrasound sources located from the bearings and arrival times of arrays.

The engine of the vestra programs, for Python:

    read_detections(paths)       detection files as a list of dicts
    associate(detections, ...)   the detections of events, labelled, as vestra-assoc
    locate(detections, ...)      one result per event, as vestra-fix --format=json
    to_quakeml(detections, ...)  the events located, as one QuakeML 1.2 document
    cross(station1, station2)    the crossing of two bearings, as vestra finds it
    to_datetime(iso)             a result's time as a datetime
    geodesic.inverse, geodesic.direct
                                 the geodesic problems on vestra's earth model

Detections are dicts with the keys of the detection JSON ("Latitude",
"Longitude", "Back Azimuth", optionally "Name", "Event" and the arrival time
"Time (UTC)" or "Peak F-Stat Time (UTC)"). Angles are in degrees, distances
in metres unless a name says otherwise, times are ISO 8601 strings in UTC.

Bad input raises ValueError with the message the programs print, naming the
place ("detections: [3]" for the fourth detection of a list) and the field.
The calls release the GIL while they work and may be made from several
threads at once.
"""

import datetime as _datetime
import json as _json
import os as _os
import warnings as _warnings

from . import _vestra
from . import geodesic
from ._options import (assoc_args as _assoc_args, fix_args as _fix_args,
                       number as _number)

__all__ = ["read_detections", "associate", "locate", "to_quakeml", "cross", "to_datetime",
           "geodesic"]

# The name of a list of detections in messages.
_LIST_NAME = "detections"


def _json_value(value):
    """JSON for what the json module does not know: times and NumPy
    scalars."""
    if isinstance(value, _datetime.datetime):
        if value.tzinfo is not None:
            value = value.astimezone(_datetime.timezone.utc).replace(
                tzinfo=None)
        return value.isoformat() + "Z"
    if hasattr(value, "item") and callable(value.item):  # NumPy scalar
        return value.item()
    raise TypeError(f"a detection holds a {type(value).__name__}, which "
                    "detection JSON cannot hold")


def _detection_json(detections):
    """The detection JSON of a list of detection dicts."""
    if isinstance(detections, (str, bytes, dict)):
        raise TypeError("detections must be a list of detection dicts "
                        "(read files with read_detections)")
    return _json.dumps(list(detections), default=_json_value).encode("ascii")


def _raise_or_warn(messages, errors):
    """ValueError with the messages of a run that found bad input; else its
    notes as warnings."""
    if errors:
        raise ValueError("\n".join(messages))
    for m in messages:
        _warnings.warn(m, stacklevel=3)


def _run(detections, fmt, sigma, celerity, pick_error, ellipsoid, jobs):
    """vestra-fix's output in format `fmt` for a list of detection dicts."""
    args = _fix_args(sigma, celerity, pick_error, ellipsoid, jobs)
    output, messages, errors = _vestra.run_fix(
        _detection_json(detections), ["--format=" + fmt] + args, _LIST_NAME)
    _raise_or_warn(messages, errors)
    return output


def locate(detections, sigma=4.0, celerity=(0.22, 0.34), pick_error=10.0,
           ellipsoid=25, jobs=None):
    """Locates every event of `detections`, as vestra-fix does.

    detections: a list of detection dicts (see read_detections); those with
        the same "Event" form one event, those without one ("Event"
        missing, None or "") another, events in the order of their first
        detection. An arrival time may also be a datetime (one without a
        time zone is UTC).
    sigma: the bearing standard deviation of a detection that gives none,
        degrees, 0.001 to 90.
    celerity: (MIN, MAX), the range of the celerity in km/s, or one number
        for both.
    pick_error: the standard deviation of an arrival time, s, 0 to 1e6.
    ellipsoid: the earth ellipsoid, 1 to 25 as in vestra (25: WGS 84).
    jobs: events located on that many threads (None: one per core).

    Returns one dict per event, in order, with exactly the members of a line
    of `vestra-fix --format=json`: "event", "status" ("ok",
    "ill-conditioned", "no-fix"), "reason", "latitude", "longitude"
    (degrees), "ellipse95" ({"semi_major_km", "semi_minor_km",
    "azimuth_deg"} or None), "origin_time" (ISO 8601 or None; see
    to_datetime), "origin_time95" ([earliest, latest] or None), "refused"
    and "detections" (per detection "station", "back_azimuth",
    "residual_deg", "residual_s", "used"); json.dumps of a result equals the
    program's line as JSON. A value the program writes null is None.

    Raises ValueError for a refused setting (the message of the command
    line: '--sigma: "95.0" is outside [0.001, 90]') and for bad detections
    (the program's messages, one per line: 'detections: [2]: "Latitude":
    outside [-90, 90]: \\'95\\''), TypeError for values that are not numbers
    or not JSON.
    """
    output = _run(detections, "json", sigma, celerity, pick_error, ellipsoid,
                  jobs)
    return [_json.loads(line) for line in output.splitlines()]


def to_quakeml(detections, sigma=4.0, celerity=(0.22, 0.34), pick_error=10.0,
               ellipsoid=25, jobs=None):
    """Locates every event of `detections` and returns the results as one
    QuakeML 1.2 document (a str), exactly as `vestra-fix --format=quakeml`
    writes it: per event an <event> with its <origin> (the fix, the 95%
    ellipse in metres, the origin time, an <arrival> per detection) and a
    <pick> per detection; an event without any arrival time keeps its fix
    and detections as comments. The arguments, the errors raised and the
    grouping into events are those of locate(). Write the document to a
    file with open(path, "w", encoding="utf-8").write(...).
    """
    return _run(detections, "quakeml", sigma, celerity, pick_error, ellipsoid,
                jobs)


def associate(detections, sigma=4.0, celerity=(0.22, 0.34), pick_error=10.0,
              ellipsoid=25, min_detections=3, min_arrays=2, threshold=12.25,
              copies=0, max_false=None, jobs=None, unassociated=False):
    """Groups the detections of several arrays into events, as vestra-assoc
    does.

    detections: a list of detection dicts (see read_detections), typically
        of several arrays and without "Event" ("" or missing: not yet
        associated). Detections that come with an event keep it and take no
        part in the association; those without an arrival time take none
        either.
    sigma, celerity, pick_error, ellipsoid: as for locate(); they bound the
        arrival times that may belong to one source and set the locator's
        fit that confirms each event.
    min_detections, min_arrays: the least detections (3) and arrays (2) of
        an event.
    threshold: the least score of an event, the natural logarithm of its
        likelihood ratio against clutter (12.25).
    copies: associate that many copies of the detections, shifted in time
        array by array, to estimate how many events clutter alone makes;
        the estimate comes as a warning.
    max_false: with copies, raise the threshold until the expected false
        events are at most this fraction of those kept (None: keep it).
    jobs: days associated on that many threads (None: one per core).
    unassociated: also return the detections of no event.

    Returns the detections of the events, exactly as vestra-assoc writes
    them (each element as given, "Event" set to its event's label, made from
    the origin time, "YYYYMMDDThhmmss" in UTC, with "-2", "-3"... for a
    second one of the same second, an empty "Name" set to the station),
    ordered by event (first arrival) and then arrival time: locate() of the
    list locates the events. With unassociated=True, the pair (events'
    detections, the others in the same order, those without a time last).

    Raises ValueError for a refused setting (the command line's message)
    and for bad detections (the program's messages), TypeError for values
    that are not numbers or not JSON.
    """
    args = (_fix_args(sigma, celerity, pick_error, ellipsoid, jobs) +
            _assoc_args(min_detections, min_arrays, threshold, copies,
                        max_false))
    events, rest, messages, errors = _vestra.run_assoc(
        _detection_json(detections), args, _LIST_NAME)
    _raise_or_warn(messages, errors)
    events = _json.loads(events)
    return (events, _json.loads(rest)) if unassociated else events


def to_datetime(iso):
    """The datetime (UTC, with tzinfo) of an ISO 8601 time as vestra writes
    it, e.g. a result's "origin_time" "2024-05-01T12:01:02.5Z"; None for
    None. Raises ValueError for text that is not such a time.
    """
    if iso is None:
        return None
    t = _datetime.datetime.fromisoformat(iso.replace("Z", "+00:00"))
    if t.tzinfo is None:
        t = t.replace(tzinfo=_datetime.timezone.utc)
    return t.astimezone(_datetime.timezone.utc)


def _station(value, which):
    """(name, [latitude, longitude, back azimuth, sd] as texts) of a station
    given as a tuple or a detection dict."""
    if isinstance(value, dict):
        missing = [k for k in ("Latitude", "Longitude", "Back Azimuth")
                   if k not in value]
        if missing:
            raise ValueError(f'{which}: "{missing[0]}": missing')
        name = value.get("Name") or ""
        numbers = [value["Latitude"], value["Longitude"],
                   value["Back Azimuth"], value.get("sd", _DEFAULT_SD)]
    else:
        numbers = list(value)
        if len(numbers) not in (3, 4):
            raise ValueError(f"{which}: (latitude, longitude, back_azimuth"
                             "[, sd]) expected")
        if len(numbers) == 3:
            numbers.append(_DEFAULT_SD)
        name = ""
    return str(name), [_number(v, which) for v in numbers]


# vestra's standard deviation of a bearing, degrees.
_DEFAULT_SD = 0.1


def cross(station1, station2, method="original", ellipsoid=25, angle=45.0):
    """The crossing of the bearings of two stations, as vestra finds it.

    station1, station2: (latitude, longitude, back_azimuth[, sd]) in
        degrees (sd, the bearing's standard deviation, 0.1 unless given), or
        a detection dict ("Latitude", "Longitude", "Back Azimuth").
    method: "original" (vestra) or "back-azimuth" (vestra-norsar).
    ellipsoid: the earth ellipsoid, 1 to 25 (25: WGS 84).
    angle: the tolerance, degrees, within which the azimuths from the
        stations to the crossing must agree with their bearings (vestra's
        --angle).

    vestra crosses the bearings, turned by up to 1.9 degrees each when they
    do not confirm the crossing at once, and accepts a crossing whose
    azimuths from both stations agree with the (turned) bearings within
    `angle` and which lies within 90 degrees of arc of both. Returns
    {"latitude": ..., "longitude": ...} (degrees) for the crossing vestra
    prints, or None when it prints none (the bearings' lines). Raises
    ValueError for a value out of range.
    """
    name1, s1 = _station(station1, "station1")
    name2, s2 = _station(station2, "station2")
    return _vestra.cross(name1, s1, name2, s2, method,
                         _number(ellipsoid, "ellipsoid"),
                         _number(angle, "angle"))


def _detection_of(fields):
    """The detection dict of a detection as the reader gave it."""
    if "raw" in fields:
        detection = _json.loads(fields["raw"])
        if fields["name_empty"]:
            detection["Name"] = fields["station"]
        return detection
    if fields["sigma"]:
        raise ValueError(
            f'{fields["where"]}: sigma: detection JSON has no key for the '
            "standard deviation of a bearing; read the file with vestra-fix, "
            'or write "-" in that column and give locate(..., sigma=...)')
    detection = {"Event": fields["event"], "Name": fields["station"],
                 "Latitude": fields["latitude"],
                 "Longitude": fields["longitude"],
                 "Back Azimuth": fields["back_azimuth"]}
    if "time" in fields:
        detection["Time (UTC)"] = fields["time"]
    return detection


def read_detections(paths_or_file):
    """Reads detection files as vestra-fix reads them.

    paths_or_file: a file name, a list of file names (read one after the
        other, as the programs read the files named on their command line),
        or an open file (text or binary).

    Detection JSON (an array of detection objects, in either generation of
    keys: "Time (UTC)" or "Peak F-Stat Time (UTC)", "F Stat." or "F
    Statistic", ...) and the text format (event station latitude longitude
    back_azimuth [sigma [time]]) are read, a byte-order mark skipped.

    Returns one dict per detection, in input order, with the keys of the
    detection JSON: each JSON element as it stands in its file, every key
    kept, with "Name" set to the station the programs take when the element
    names none (the array code of a file named like "I57US.dets.json",
    else "@LAT,LON"); a line of the text format as "Event", "Name",
    "Latitude", "Longitude", "Back Azimuth" and, when given, "Time (UTC)".
    locate() of the result gives the results of vestra-fix on the files.

    Raises ValueError with the programs' messages ("a.json: [3]:
    \"Latitude\": ...", "b.txt:7: ...") for files that cannot be read and
    for bad detections, and for a text line that gives a bearing's standard
    deviation, which detection JSON has no key for.
    """
    files, content, name = [], None, ""
    if hasattr(paths_or_file, "read"):
        content = paths_or_file.read()
        if isinstance(content, str):
            content = content.encode("utf-8", "surrogateescape")
        name = str(getattr(paths_or_file, "name", "<file>"))
    elif isinstance(paths_or_file, (str, bytes, _os.PathLike)):
        files = [_os.fsdecode(paths_or_file)]
    else:
        files = [_os.fsdecode(p) for p in paths_or_file]
        if not files:
            return []
    records, messages, errors = _vestra.read(files, content, name)
    _raise_or_warn(messages, errors)
    return [_detection_of(r) for r in records]

