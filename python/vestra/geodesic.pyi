# Type stubs of vestra.geodesic.
from typing import Union

import numpy as np
import numpy.typing as npt

_Values = npt.ArrayLike
_Result = dict[str, Union[np.float64, npt.NDArray[np.float64]]]

def inverse(lat1: _Values, lon1: _Values, lat2: _Values, lon2: _Values,
            ellipsoid: int = ...) -> _Result:
    """The geodesic between two points: {"s12" (m), "azi1", "azi2"
    (degrees, [0, 360))}, broadcast over the arguments."""

def direct(lat1: _Values, lon1: _Values, azi1: _Values, s12: _Values,
           ellipsoid: int = ...) -> _Result:
    """The point at distance s12 (m) along azimuth azi1: {"lat2", "lon2",
    "azi2"} (degrees), broadcast over the arguments."""
