// Vector arithmetic on the unit sphere (geo's Vec3), for the association's
// fast geometry: points are unit vectors of the earth-centred frame, a
// bearing at a point is the great circle through it in that direction, and
// distances are angles (radians) times the mean radius.
#pragma once

#include <cmath>

#include "geo/sphere.h"

namespace assoc {

using geo::Vec3;

inline double dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline Vec3 operator+(const Vec3& a, const Vec3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(double s, const Vec3& a) {
  return {s * a.x, s * a.y, s * a.z};
}
inline double norm(const Vec3& a) { return std::sqrt(dot(a, a)); }
inline Vec3 normalized(const Vec3& a) { return (1.0 / norm(a)) * a; }

/// Angle between two unit vectors, radians, [0, pi].
inline double angle(const Vec3& a, const Vec3& b) {
  return std::atan2(norm(cross(a, b)), dot(a, b));
}

/// East and north unit vectors at the unit vector `x` (at a pole, any
/// orthonormal pair of the tangent plane).
inline void tangent_basis(const Vec3& x, Vec3& east, Vec3& north) {
  Vec3 e = {-x.y, x.x, 0.0};  // z cross x
  const double n = norm(e);
  east = n > 1e-12 ? (1.0 / n) * e : Vec3{0.0, 1.0, 0.0};
  north = cross(x, east);
}

}  // namespace assoc
