// The geodesic problems on the project's earth model (CEarth: Vincenty's
// inverse and direct formulae on an ellipsoid), and the lines and ellipses
// drawn with them.
//
// Units: angles in degrees (geographic latitude north positive, longitude
// east positive, azimuths clockwise from north), distances in kilometres.
#pragma once

#include <vector>

#include "GFC.h"
#include "geo/sphere.h"

namespace geo {

/// One solved inverse problem between a station and a point.
struct Geodesic {
  double distance_km;  ///< length of the geodesic, km
  double azimuth_1;    ///< azimuth at the station towards the point, degrees
  double azimuth_2;    ///< azimuth at the point continuing away from the
                       ///< station (forward azimuth), degrees
};

/// The project's earth model with the two problems in the units above.
/// Not to be shared between threads (CEarth keeps work values).
class Earth {
 public:
  /// `ellipsoid` is a CEarth ellipsoid number (1 to 25; 25 is WGS 84).
  explicit Earth(int ellipsoid);

  /// Vincenty's inverse from (lat1, lon1) to (lat2, lon2), degrees.
  Geodesic inverse(double lat1, double lon1, double lat2, double lon2) const;
  /// Vincenty's direct: the point `distance_km` from (lat, lon) along
  /// `azimuth` (degrees); the longitude comes back in (-180, 180]. A
  /// non-null `azimuth_2` receives the azimuth (degrees, [0, 360)) in which
  /// the geodesic continues at that point.
  void direct(double lat, double lon, double distance_km, double azimuth,
              double& lat2, double& lon2, double* azimuth_2 = nullptr) const;
  /// The same, as a position.
  LonLat direct(double lat, double lon, double distance_km,
                double azimuth) const;
  /// Mean radius (2a + b) / 3 of the ellipsoid, km.
  double mean_radius_km() const { return mean_radius_km_; }

 private:
  mutable CEarth earth_;
  double mean_radius_km_;
};

/// The geodesic from (lat, lon) (degrees) along `azimuth` (degrees),
/// `length_km` long, as points at most `max_step_km` apart: the start as
/// given, then ceil(length_km / max_step_km) equal steps.
std::vector<LonLat> geodesic_path(const Earth& earth, double lat, double lon,
                                  double azimuth, double length_km,
                                  double max_step_km);

/// The ellipse centred at (lat, lon) (degrees) with semi-axes `semi_major_km`
/// and `semi_minor_km` and its major axis at `azimuth` (degrees from north),
/// as a ring of `vertices` points (open: the first is not repeated) running
/// counter-clockwise. The vertex at parameter t lies a cos t along the major
/// axis and b sin t along the direction 90 degrees anticlockwise from it,
/// measured along the geodesic from the centre.
std::vector<LonLat> ellipse_ring(const Earth& earth, double lat, double lon,
                                 double semi_major_km, double semi_minor_km,
                                 double azimuth, int vertices);

}  // namespace geo
