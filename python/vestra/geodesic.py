"""The geodesic problems on vestra's earth model: Vincenty's inverse and
direct formulae on the ellipsoids vestra knows (1 to 25; 25 is WGS 84), the
same computation that vestra and vestra-fix make.

Both functions broadcast their arguments as NumPy does (scalars, lists or
arrays of any shapes that broadcast together) and return a dict of arrays of
the broadcast shape, named as GeographicLib's Python package names them;
when every argument is a scalar, the values are numpy.float64 scalars (a
subclass of float), so that a single geodesic reads like GeographicLib's
Geodesic.Inverse. Angles are in degrees, distances in metres. Azimuths are
clockwise from north in [0, 360) (GeographicLib gives (-180, 180]).

Where a latitude lies outside [-90, 90] or a value is not finite the results
are NaN. Vincenty's iteration does not settle for some nearly antipodal
points; there the values of its last pass are returned, as the programs use
them.
"""

import numpy as _np

from . import _vestra
from ._options import number as _number

__all__ = ["inverse", "direct"]


def _arrays(*values):
    """The arguments broadcast together as contiguous float64 arrays, and
    whether they were all scalars."""
    arrays = [_np.asarray(v, dtype=_np.float64) for v in values]
    scalar = all(a.ndim == 0 for a in arrays)
    return [_np.array(a, order="C") for a in _np.broadcast_arrays(*arrays)], \
        scalar


def _ellipsoid(ellipsoid):
    """The ellipsoid number, checked as vestra-fix checks --ellipsoid."""
    _vestra.check_options(["--ellipsoid=" + _number(ellipsoid, "ellipsoid")])
    return int(ellipsoid)


def _result(names, arrays, scalar):
    """The dict of results; scalars when every argument was one."""
    return {n: (a[()] if scalar else a) for n, a in zip(names, arrays)}


def inverse(lat1, lon1, lat2, lon2, ellipsoid=25):
    """The geodesic between two points.

    lat1, lon1: the first point, degrees.
    lat2, lon2: the second point, degrees.
    ellipsoid: the earth ellipsoid, 1 to 25 as in vestra (25: WGS 84).

    Returns {"s12": distance (m), "azi1": azimuth at the first point towards
    the second, "azi2": azimuth at the second point, continuing away from
    the first (degrees, [0, 360))}, arrays of the broadcast shape of the
    arguments (scalars when all are scalars). Raises ValueError for an
    ellipsoid out of range, as vestra-fix's --ellipsoid.
    """
    e = _ellipsoid(ellipsoid)
    arrays, scalar = _arrays(lat1, lon1, lat2, lon2)
    return _result(("s12", "azi1", "azi2"), _vestra.inverse(*arrays, e),
                   scalar)


def direct(lat1, lon1, azi1, s12, ellipsoid=25):
    """The point at a distance along a geodesic.

    lat1, lon1: the start, degrees.
    azi1: the azimuth at the start, degrees clockwise from north.
    s12: the distance along the geodesic, m (negative: backwards).
    ellipsoid: the earth ellipsoid, 1 to 25 as in vestra (25: WGS 84).

    Returns {"lat2", "lon2": the end point (degrees, longitude in
    (-180, 180]), "azi2": the azimuth in which the geodesic continues there
    (degrees, [0, 360))}, arrays of the broadcast shape of the arguments
    (scalars when all are scalars). Raises ValueError for an ellipsoid out
    of range, as vestra-fix's --ellipsoid.
    """
    e = _ellipsoid(ellipsoid)
    arrays, scalar = _arrays(lat1, lon1, azi1, s12)
    return _result(("lat2", "lon2", "azi2"), _vestra.direct(*arrays, e),
                   scalar)
