#include "geo/sphere.h"

#include <cmath>

namespace geo {

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

Vec3 unit_vector(double lat, double lon) {
  const double phi = lat * deg2rad, lambda = lon * deg2rad;
  return {std::cos(phi) * std::cos(lambda), std::cos(phi) * std::sin(lambda),
          std::sin(phi)};
}

LonLat position(const Vec3& v) {
  return {std::atan2(v.y, v.x) * rad2deg,
          std::atan2(v.z, std::hypot(v.x, v.y)) * rad2deg};
}

double arc_radians(const Vec3& a, const Vec3& b) {
  const double cx = a.y * b.z - a.z * b.y;
  const double cy = a.z * b.x - a.x * b.z;
  const double cz = a.x * b.y - a.y * b.x;
  const double dot = a.x * b.x + a.y * b.y + a.z * b.z;
  return std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), dot);
}

double arc_degrees(const Vec3& a, const Vec3& b) {
  return arc_radians(a, b) * rad2deg;
}

double distance_km(LonLat a, LonLat b) {
  return mean_radius_km *
         arc_radians(unit_vector(a.lat, a.lon), unit_vector(b.lat, b.lon));
}

LocalFrame local_frame(double lat, double lon) {
  const double phi = lat * deg2rad, lambda = lon * deg2rad;
  const double sp = std::sin(phi), cp = std::cos(phi);
  const double sl = std::sin(lambda), cl = std::cos(lambda);
  return {{-sl, cl, 0.0}, {-sp * cl, -sp * sl, cp}};
}

LocalFrame local_frame(const Vec3& x) {
  const Vec3 e = {-x.y, x.x, 0.0};  // z cross x
  const double n = norm(e);
  LocalFrame f;
  f.east = n > 1e-12 ? (1.0 / n) * e : Vec3{0.0, 1.0, 0.0};
  f.north = cross(x, f.east);
  return f;
}

double sphere_azimuth(const LocalFrame& f, const Vec3& to) {
  const double east = f.east.x * to.x + f.east.y * to.y + f.east.z * to.z;
  const double north = f.north.x * to.x + f.north.y * to.y + f.north.z * to.z;
  return wrap360(std::atan2(east, north) * rad2deg);
}

}  // namespace geo
