// Positions and directions on the sphere: the one point type of the
// companions, unit vectors of the earth-centred frame, arcs, azimuths and
// the wrapping of angles.
//
// Units: angles in degrees unless a name says radians (latitude north
// positive, longitude east positive, azimuths clockwise from north),
// distances in kilometres. Where a function takes latitude and longitude as
// two numbers, latitude comes first, as in the geodesic problems; a LonLat
// holds longitude first, as GeoJSON writes a position.
#pragma once

#include <cmath>

namespace geo {

/// Degrees to radians and back: pi/180 and 180/pi as doubles, the factors
/// of the earth model's own conversions.
inline constexpr double deg2rad = 0.017453292519943295;
inline constexpr double rad2deg = 57.29577951308232;

/// Mean radius of the earth, km: (2a + b) / 3 of WGS 84, the radius of the
/// sphere on which the companions plan and draw.
inline constexpr double mean_radius_km = 6371.0088;

/// A position: longitude and latitude, degrees.
struct LonLat {
  double lon = 0.0;
  double lat = 0.0;
};

/// An angle (degrees) brought into (-180, 180]; exact.
double wrap180(double degrees);
/// An angle (degrees) brought into [0, 360); exact but for the one value
/// just below 0 that would round to 360.
double wrap360(double degrees);

/// A vector of the earth-centred frame: x towards (0, 0), y towards
/// (0, 90 E), z towards the north pole.
struct Vec3 {
  double x, y, z;
};

/// Vector arithmetic of the earth-centred frame.
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
/// Euclidean length.
inline double norm(const Vec3& a) { return std::sqrt(dot(a, a)); }
/// `a` scaled to unit length; `a` must not be zero.
inline Vec3 normalized(const Vec3& a) { return (1.0 / norm(a)) * a; }

/// Unit vector of the point at latitude `lat` and longitude `lon` (degrees).
Vec3 unit_vector(double lat, double lon);
/// The position (degrees, longitude in [-180, 180]) a vector points to; the
/// vector need not be of unit length, but must not be zero.
LonLat position(const Vec3& v);

/// Angle (radians, [0, pi]) between two unit vectors, by
/// atan2(|a x b|, a . b), accurate at every distance.
double arc_radians(const Vec3& a, const Vec3& b);
/// The same angle in degrees ([0, 180]): the spherical distance in degrees
/// of arc.
double arc_degrees(const Vec3& a, const Vec3& b);
/// Great-circle distance (km) between two positions on the sphere of
/// mean_radius_km.
double distance_km(LonLat a, LonLat b);

/// The local frame of a point on the sphere: unit vectors of its east and
/// north directions.
struct LocalFrame {
  Vec3 east, north;
};
/// The local frame at latitude `lat` and longitude `lon` (degrees).
LocalFrame local_frame(double lat, double lon);
/// The local frame at the unit vector `x`, without angles: east is z x x
/// normalised, north is x x east (at a pole, where east is undefined, east
/// is the y axis).
LocalFrame local_frame(const Vec3& x);
/// Spherical azimuth (degrees, [0, 360)) towards the point `to` (a unit
/// vector) at a point whose local frame is `frame`.
double sphere_azimuth(const LocalFrame& frame, const Vec3& to);

}  // namespace geo
