// Geodesic services of the location program, on the project's earth model
// (CEarth: Vincenty's inverse and direct formulae), plus the few spherical
// helpers the start of the fit needs.
//
// Units: angles in degrees (latitude north positive, longitude east
// positive, azimuths clockwise from north), distances in kilometres.
#pragma once

#include "GFC.h"

namespace fix {

/// Degrees to radians and back: pi/180 and 180/pi as doubles, the factors
/// of CMath's conversions.
inline constexpr double deg2rad = 0.017453292519943295;
inline constexpr double rad2deg = 57.29577951308232;

/// An angle (degrees) brought into (-180, 180].
double wrap180(double degrees);
/// An angle (degrees) brought into [0, 360).
double wrap360(double degrees);

/// One solved inverse problem between a station and a point.
struct Geodesic {
  double distance_km;  ///< length of the geodesic, km
  double azimuth_1;    ///< azimuth at the station towards the point, degrees
  double azimuth_2;    ///< azimuth at the point continuing away from the
                       ///< station (forward azimuth), degrees
};

/// The project's earth model with the two problems in the units above.
class Earth {
 public:
  /// `ellipsoid` is a CEarth ellipsoid number (1 to 25).
  explicit Earth(int ellipsoid);

  /// Vincenty's inverse from (lat1, lon1) to (lat2, lon2), degrees.
  Geodesic inverse(double lat1, double lon1, double lat2, double lon2) const;
  /// Vincenty's direct: the point `distance_km` from (lat, lon) along
  /// `azimuth` (degrees); the longitude comes back in [-180, 180].
  void direct(double lat, double lon, double distance_km, double azimuth,
              double& lat2, double& lon2) const;
  /// Mean radius (2a + b) / 3 of the ellipsoid, km.
  double mean_radius_km() const { return mean_radius_km_; }

 private:
  mutable CEarth earth_;
  double mean_radius_km_;
};

/// A unit vector of the earth-centred frame.
struct Vec3 {
  double x, y, z;
};

/// Unit vector of a point on the sphere at latitude `lat` and longitude
/// `lon` (degrees).
Vec3 unit_vector(double lat, double lon);
/// Angle (degrees, [0, 180]) between two unit vectors: the spherical
/// distance in degrees of arc.
double arc_degrees(const Vec3& a, const Vec3& b);
/// The local frame of a point on the sphere: unit vectors of its east and
/// north directions.
struct LocalFrame {
  Vec3 east, north;
};
/// The local frame at latitude `lat` and longitude `lon` (degrees).
LocalFrame local_frame(double lat, double lon);
/// Spherical azimuth (degrees, [0, 360)) towards the point `to` at a point
/// whose local frame is `frame`.
double sphere_azimuth(const LocalFrame& frame, const Vec3& to);

}  // namespace fix
