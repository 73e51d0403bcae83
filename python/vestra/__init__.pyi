# Type stubs of the package vestra.
import datetime
import os
from typing import Any, IO, Iterable, Mapping, Optional, Sequence, Union

from . import geodesic as geodesic

Detection = dict[str, Any]
Result = dict[str, Any]
_Station = Union[Sequence[float], Mapping[str, Any]]
_Celerity = Union[float, tuple[float, float]]
_Paths = Union[str, os.PathLike[str], IO[str], IO[bytes],
               Iterable[Union[str, os.PathLike[str]]]]

def read_detections(paths_or_file: _Paths) -> list[Detection]:
    """The detections of detection files (JSON or the text format)."""

def associate(detections: Iterable[Mapping[str, Any]], sigma: float = ...,
              celerity: _Celerity = ..., pick_error: float = ...,
              ellipsoid: int = ..., min_detections: int = ...,
              min_arrays: int = ..., threshold: float = ...,
              copies: int = ..., max_false: Optional[float] = ...,
              jobs: Optional[int] = ..., unassociated: bool = ...
              ) -> Union[list[Detection], tuple[list[Detection], list[Detection]]]:
    """The detections of the events found, labelled as vestra-assoc labels
    them (and, with unassociated=True, the others)."""

def locate(detections: Iterable[Mapping[str, Any]], sigma: float = ...,
           celerity: _Celerity = ..., pick_error: float = ...,
           ellipsoid: int = ..., jobs: Optional[int] = ...) -> list[Result]:
    """One result per event, as vestra-fix --format=json writes it."""

def to_quakeml(detections: Iterable[Mapping[str, Any]], sigma: float = ...,
               celerity: _Celerity = ..., pick_error: float = ...,
               ellipsoid: int = ..., jobs: Optional[int] = ...) -> str:
    """The events located, as one QuakeML 1.2 document."""

def to_datetime(iso: Optional[str]) -> Optional[datetime.datetime]:
    """The datetime (UTC) of an ISO 8601 time as vestra writes it."""

def cross(station1: _Station, station2: _Station, method: str = ...,
          ellipsoid: int = ..., angle: float = ...) -> Optional[dict[str, float]]:
    """The crossing of two bearings as vestra finds it, or None."""
