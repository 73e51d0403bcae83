// Station distances measured on the process-wide earth model.
#pragma once

#include "GFC.h"

class Station;

/// Geodesic distance between two stations and the azimuths at both ends.
struct distance {
  double distance_in_meters = 0.0;          ///< metres, on the current ellipsoid
  double heading_from_here_to_there = 0.0;  ///< degrees at the first station, [0, 360)
  double heading_from_there_to_here = 0.0;  ///< degrees at the second station, [0, 360]
};

/// The ellipsoid chosen on the command line (`WGS_84` unless changed).
extern CEarth::_EllipsoidType ellipsoid;
/// The earth model of the process, constructed with `WGS_84`.
extern CEarth earth;

/// Distance and headings from `origin` to `st` on `earth`; the caller owns
/// (and deletes) the returned record.
distance* calculate_distance(Station& origin, Station& st);

/// Central angle (radians) by the spherical law of cosines; arguments radians.
double angular_distance(double lat1, double lon1, double lat2, double lon2);
double angular_distance(const Station& s, const Station& r);
/// Central angle (degrees); arguments degrees.
double angular_distance_deg(double lat1, double lon1, double lat2, double lon2);
double angular_distance_deg(const Station& s, const Station& r);
