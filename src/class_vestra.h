// Original crossing method: the point where the bearings of two stations
// meet, from a spherical triangle and a walk along each bearing.
//
// Angles at the interfaces are decimal degrees (latitude north positive,
// longitude east positive, azimuths clockwise from north); distances are
// degrees of arc. Trigonometry is done in radians inside.
#pragma once

#include <cstdint>

class Station;

/// -1 if d < 0, +1 if d > 0, else 0 (also for NaN).
int basic_sgn(double d);
/// -1 if a < 0, else +1.
int sgn(double a);
/// |a| with the sign of b (+ for b >= 0).
double fortran_sgn(double a, double b);
/// Azimuth (degrees, [0, 360)) at point 1 towards point 2; latitudes and
/// longitudes in degrees.
double azimuth(double xlat1, double xlong1, double xlat2, double xlong2);
/// Angular distance (degrees, [0, 180]) between the two points.
double delta(double xlat1, double xlong1, double xlat2, double xlong2);

/// One crossing computation for a pair of stations.
class vestra {
 public:
  vestra(const Station& s1, const Station& s2);
  /// Writes the crossing point into `loc` (latitude and longitude only).
  void operator()(Station& loc);

 private:
  /// Destination from latitude x4, longitude x3 (degrees) along azimuth t0
  /// (degrees) over d7 degrees of arc.
  void l_1000(double x4, double x3, double t0, double d7, double& result_x,
              double& result_y);
  /// a5 = azimuth from point 1 to point 2, a6 = its reverse (degrees).
  void l_141(double lat1, double long1, double lat2, double long2, double& a5,
             double& a6);
  /// The crossing point (degrees).
  void l_400(double& latitude, double& longitude);

  std::int32_t station1;
  std::int32_t station2;
  double x1;      ///< latitude of station 1, degrees
  double y1;      ///< longitude of station 1, degrees
  double x2;      ///< latitude of station 2, degrees
  double y2;      ///< longitude of station 2, degrees
  double angle1;  ///< bearing at station 1, degrees
  double angle2;  ///< bearing at station 2, degrees

  friend class vestra_access;  // unit tests of the private routines
};

/// The original method as a location entry: always returns 0.
int calculate_location_original(const Station& s1, const Station& s2,
                                Station& event_location);
