#include "fix/geodesy.h"

#include <cmath>

namespace fix {

double wrap180(double degrees) {
  double r = std::fmod(degrees, 360.0);
  if (r > 180.0) r -= 360.0;
  if (r <= -180.0) r += 360.0;
  return r;
}

double wrap360(double degrees) {
  double r = std::fmod(degrees, 360.0);
  if (r < 0.0) r += 360.0;
  if (r >= 360.0) r -= 360.0;  // -1e-17 + 360 rounds to 360
  return r;
}

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
                   double& lat2, double& lon2) const {
  CPolarCoordinate p1, p2;
  p1.Set(lat, lon, 0.0);
  earth_.AddSurfaceDistanceAndDirectionToCoordinate(p1, distance_km * 1000.0,
                                                    azimuth, p2);
  lat2 = p2.GetUpDownAngleInDegrees();
  lon2 = wrap180(p2.GetLeftRightAngleInDegrees());
  if (lon2 == -180.0) lon2 = 180.0;
}

Vec3 unit_vector(double lat, double lon) {
  const double phi = lat * deg2rad, lambda = lon * deg2rad;
  return {std::cos(phi) * std::cos(lambda), std::cos(phi) * std::sin(lambda),
          std::sin(phi)};
}

double arc_degrees(const Vec3& a, const Vec3& b) {
  const double cx = a.y * b.z - a.z * b.y;
  const double cy = a.z * b.x - a.x * b.z;
  const double cz = a.x * b.y - a.y * b.x;
  const double dot = a.x * b.x + a.y * b.y + a.z * b.z;
  return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), dot) * rad2deg;
}

LocalFrame local_frame(double lat, double lon) {
  const double phi = lat * deg2rad, lambda = lon * deg2rad;
  const double sp = std::sin(phi), cp = std::cos(phi);
  const double sl = std::sin(lambda), cl = std::cos(lambda);
  return {{-sl, cl, 0.0}, {-sp * cl, -sp * sl, cp}};
}

double sphere_azimuth(const LocalFrame& f, const Vec3& to) {
  const double east = f.east.x * to.x + f.east.y * to.y + f.east.z * to.z;
  const double north = f.north.x * to.x + f.north.y * to.y + f.north.z * to.z;
  return wrap360(std::atan2(east, north) * rad2deg);
}

}  // namespace fix
