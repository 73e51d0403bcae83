#include "geo/earth.h"

#include <cmath>
#include <numbers>

namespace geo {

Earth::Earth(int ellipsoid) : earth_(ellipsoid) {
  mean_radius_km_ = (2.0 * earth_.GetEquatorialRadiusInMeters() +
                     earth_.GetPolarRadiusInMeters()) /
                    3000.0;
}

Geodesic Earth::inverse(double lat1, double lon1, double lat2,
                        double lon2) const {
  CPolarCoordinate p1, p2;
  p1.Set(lat1, lon1, 0.0);
  p2.Set(lat2, lon2, 0.0);
  double az1 = 0.0, back = 0.0;
  const double metres = earth_.GetSurfaceDistance(p1, p2, &az1, &back);
  return {metres / 1000.0, az1, wrap360(back + 180.0)};
}

void Earth::direct(double lat, double lon, double distance_km, double azimuth,
                   double& lat2, double& lon2, double* azimuth_2) const {
  CPolarCoordinate p1, p2;
  p1.Set(lat, lon, 0.0);
  earth_.AddSurfaceDistanceAndDirectionToCoordinate(p1, distance_km * 1000.0,
                                                    azimuth, p2, azimuth_2);
  lat2 = p2.GetUpDownAngleInDegrees();
  lon2 = wrap180(p2.GetLeftRightAngleInDegrees());
}

LonLat Earth::direct(double lat, double lon, double distance_km,
                     double azimuth) const {
  LonLat p;
  direct(lat, lon, distance_km, azimuth, p.lat, p.lon);
  return p;
}

std::vector<LonLat> geodesic_path(const Earth& earth, double lat, double lon,
                                  double azimuth, double length_km,
                                  double max_step_km) {
  const int steps = static_cast<int>(std::ceil(length_km / max_step_km));
  std::vector<LonLat> path{{lon, lat}};
  for (int k = 1; k <= steps; ++k)
    path.push_back(earth.direct(lat, lon, length_km * k / steps, azimuth));
  return path;
}

std::vector<LonLat> ellipse_ring(const Earth& earth, double lat, double lon,
                                 double semi_major_km, double semi_minor_km,
                                 double azimuth, int vertices) {
  std::vector<LonLat> ring;
  const double az = azimuth * deg2rad;
  const double ue = std::sin(az), un = std::cos(az);  // major axis
  const double ve = -un, vn = ue;                     // anticlockwise of it
  for (int k = 0; k < vertices; ++k) {
    const double t = 2.0 * std::numbers::pi * k / vertices;
    const double e = semi_major_km * std::cos(t) * ue +
                     semi_minor_km * std::sin(t) * ve;
    const double n = semi_major_km * std::cos(t) * un +
                     semi_minor_km * std::sin(t) * vn;
    ring.push_back(earth.direct(lat, lon, std::hypot(e, n),
                                std::atan2(e, n) * rad2deg));
  }
  return ring;
}

}  // namespace geo
