#!/usr/bin/env python3
"""Writes the GeoJSON fixtures of the vestra-map tests, in the form
vestra-fix --format=geojson gives: per event the stations, the bearing lines
(great circles from the station to a little beyond the fix, at most 10 km
between points, cut at the antimeridian), the pairwise crossings, the fix and
its 95% ellipse (counter-clockwise, cut at the antimeridian).

The earth is a sphere here; the fixtures only have to look like real events.
Run once from this directory: python3 make_fixtures.py
"""
import json
import math

R = 6371.0088


def direct(lat, lon, azimuth, km):
    """The point km along the great circle from (lat, lon) at azimuth."""
    p, l, a, d = map(math.radians, (lat, lon, azimuth, km / R * 180 / math.pi))
    lat2 = math.asin(math.sin(p) * math.cos(d) + math.cos(p) * math.sin(d) * math.cos(a))
    lon2 = l + math.atan2(math.sin(a) * math.sin(d) * math.cos(p),
                          math.cos(d) - math.sin(p) * math.sin(lat2))
    return math.degrees(lat2), (math.degrees(lon2) + 540) % 360 - 180


def inverse(lat1, lon1, lat2, lon2):
    """Distance (km) and azimuth from the first point to the second."""
    p1, p2, dl = math.radians(lat1), math.radians(lat2), math.radians(lon2 - lon1)
    c = math.acos(max(-1, min(1, math.sin(p1) * math.sin(p2) +
                              math.cos(p1) * math.cos(p2) * math.cos(dl))))
    az = math.atan2(math.sin(dl) * math.cos(p2),
                    math.cos(p1) * math.sin(p2) - math.sin(p1) * math.cos(p2) * math.cos(dl))
    return c * R, math.degrees(az) % 360


def vec(lat, lon):
    p, l = math.radians(lat), math.radians(lon)
    return (math.cos(p) * math.cos(l), math.cos(p) * math.sin(l), math.sin(p))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def crossing(s1, az1, s2, az2):
    """Where the two great circles cross, on the side the bearings point to."""
    n = []
    for (lat, lon), az in ((s1, az1), (s2, az2)):
        ahead = direct(lat, lon, az, 100)
        n.append(cross(vec(lat, lon), vec(*ahead)))
    x = cross(n[0], n[1])
    norm = math.sqrt(sum(c * c for c in x))
    lat = math.degrees(math.asin(x[2] / norm))
    lon = math.degrees(math.atan2(x[1], x[0]))
    ahead = vec(*direct(s1[0], s1[1], az1, 100))
    if sum(a * b for a, b in zip(ahead, vec(lat, lon))) < 0:
        lat, lon = -lat, (lon + 360) % 360 - 180
    return lat, lon


def r(x):
    return round(x, 4)


def cut(points):
    """Splits a line of (lon, lat) at the antimeridian."""
    parts, part = [], [points[0]]
    for (lon1, lat1), (lon2, lat2) in zip(points, points[1:]):
        if abs(lon2 - lon1) > 180:
            edge = 180 if lon1 > 0 else -180
            span = (lon2 + (360 if lon1 > 0 else -360)) - lon1
            lat = lat1 + (lat2 - lat1) * (edge - lon1) / span
            part.append((edge, lat))
            parts.append(part)
            part = [(-edge, lat)]
        part.append((lon2, lat2))
    parts.append(part)
    return parts


def line_geometry(points):
    parts = [[[r(x), r(y)] for x, y in p] for p in cut(points)]
    if len(parts) == 1:
        return {"type": "LineString", "coordinates": parts[0]}
    return {"type": "MultiLineString", "coordinates": parts}


def clip(ring, keep):
    """Sutherland-Hodgman clip of a ring (unwrapped longitudes) against
    the meridian 180, keeping the side where keep(lon) holds."""
    out = []
    for i, (x2, y2) in enumerate(ring):
        x1, y1 = ring[i - 1]
        if keep(x2) != keep(x1):
            out.append((180, y1 + (y2 - y1) * (180 - x1) / (x2 - x1)))
        if keep(x2):
            out.append((x2, y2))
    return out


def ellipse_geometry(lat, lon, a, b, az):
    ring = []
    for k in range(0, 360, 6):
        t = math.radians(-k)  # negative: counter-clockwise on the map
        along, across = a * math.cos(t), b * math.sin(t)
        plat, plon = direct(lat, lon, az + math.degrees(math.atan2(across, along)),
                            math.hypot(along, across))
        ring.append((lon + (plon - lon + 540) % 360 - 180, plat))
    if max(x for x, _ in ring) <= 180 and min(x for x, _ in ring) >= -180:
        ring.append(ring[0])
        return {"type": "Polygon", "coordinates": [[[r(x), r(y)] for x, y in ring]]}
    polygons = []
    for keep, shift in ((lambda x: x <= 180, 0), (lambda x: x >= 180, -360)):
        part = [(x + shift if x != 180 or shift == 0 else -180, y)
                for x, y in clip(ring, keep)]
        part.append(part[0])
        polygons.append([[[r(x), r(y)] for x, y in part]])
    return {"type": "MultiPolygon", "coordinates": polygons}


def feature(event, kind, geometry, **props):
    return {"type": "Feature", "geometry": geometry,
            "properties": {"event": event, "kind": kind, **props}}


def event(name, source, fix, stations, ellipse, origin_time):
    """stations: (name, lat, lon, bearing error in degrees, used)."""
    features, bearings = [], []
    for st, lat, lon, error, used in stations:
        features.append(feature(name, "station",
                                {"type": "Point", "coordinates": [r(lon), r(lat)]},
                                station=st))
        dist, az = inverse(lat, lon, *source)
        bearings.append(((lat, lon), (az + error) % 360, st, used, dist))
    for (lat, lon), baz, st, used, dist in bearings:
        length = dist * 1.08 + 30
        steps = math.ceil(length / 9.5)
        points = [direct(lat, lon, baz, length * i / steps)[::-1] for i in range(steps + 1)]
        features.append(feature(name, "bearing", line_geometry(points), station=st,
                                back_azimuth=round(baz, 2), used=used))
    for i in range(len(bearings)):
        for j in range(i + 1, len(bearings)):
            if bearings[i][3] and bearings[j][3]:
                lat, lon = crossing(bearings[i][0], bearings[i][1],
                                    bearings[j][0], bearings[j][1])
                features.append(feature(name, "crossing",
                                        {"type": "Point", "coordinates": [r(lon), r(lat)]},
                                        stations=[bearings[i][2], bearings[j][2]]))
    a, b, az = ellipse
    features.append(feature(
        name, "fix", {"type": "Point", "coordinates": [r(fix[1]), r(fix[0])]},
        status="ok", reason=None, latitude=r(fix[0]), longitude=r(fix[1]),
        semi_major_km=a, semi_minor_km=b, azimuth_deg=az, origin_time=origin_time,
        origin_time95=None, producer_note="extra properties are ignored"))
    features.append(feature(name, "ellipse95", ellipse_geometry(fix[0], fix[1], a, b, az),
                            semi_major_km=a, semi_minor_km=b, azimuth_deg=az))
    return features


def write(path, features):
    with open(path, "w") as f:
        json.dump({"type": "FeatureCollection", "features": features}, f,
                  separators=(",", ":"))
        f.write("\n")


# A regional event in the Gulf of Bothnia, stations 150 to 300 km away; one
# wild bearing is not used.
write("regional.geojson", event(
    "bothnia", (63.9, 21.6), (63.91, 21.57),
    [("LYC", 64.61, 18.75, 1.5, True), ("SUN", 62.39, 17.31, -2.0, True),
     ("VAA", 63.10, 23.60, 1.0, True), ("OUL", 65.01, 25.47, 25.0, False)],
    (14.5, 6.2, 38.0), "2024-05-01T12:00:03Z"))

# A far-field event in the Bering Sea: stations 1,500 to 5,000 km away on
# both sides of the antimeridian, the ellipse cut by it. Then an event near
# the North Pole (stations about 1,000 km away).
write("two_events.geojson", event(
    "bering", (53.8, 179.8), (53.85, 179.74),
    [("FAI", 64.87, -147.86, 1.0, True), ("PET", 53.02, 158.65, -1.2, True),
     ("JPN", 36.55, 138.20, 0.8, True), ("HAW", 19.59, -155.89, -0.7, True)],
    (60.0, 22.0, 65.0), None) + event(
    "north pole", (88.5, 40.0), (88.45, 42.0),
    [("SPB", 78.15, 16.04, 1.0, True), ("ALR", 82.50, -62.35, -1.5, True),
     ("SEV", 79.50, 95.00, 0.5, True), ("FJL", 80.62, 58.05, 2.0, True)],
    (35.0, 18.0, 120.0), "2024-05-02T03:04:05Z"))
