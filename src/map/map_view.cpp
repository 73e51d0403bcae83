#include "map/map_view.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vestra::map {

namespace {

constexpr double kRad = std::numbers::pi / 180;

/// Longitude in [-180, 180].
double wrap(double lon) {
  lon = std::remainder(lon, 360.0);
  return lon == -180 ? 180 : lon;
}

/// Radius in the plane, in earth radii, of a point `c` radians from the
/// centre, and its inverse.
double radial(Projection proj, double c) {
  return proj == Projection::stereographic ? 2 * std::tan(c / 2) : c;
}
double angular(Projection proj, double r) {
  return proj == Projection::stereographic ? 2 * std::atan(r / 2) : r;
}

/// Unit vector of a position, and back.
struct Vec3 {
  double x, y, z;
};
Vec3 to_vector(GeoPoint p) {
  double lat = p.lat * kRad, lon = p.lon * kRad;
  return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon),
          std::sin(lat)};
}
GeoPoint to_point(Vec3 v) {
  return {std::atan2(v.y, v.x) / kRad,
          std::atan2(v.z, std::hypot(v.x, v.y)) / kRad};
}

/// A round length (1, 2 or 5 times a power of ten) not above `km`.
double round_length(double km) {
  double decade = std::pow(10.0, std::floor(std::log10(km)));
  for (double step : {5.0, 2.0})
    if (step * decade <= km) return step * decade;
  return decade;
}

}  // namespace

PlanePoint project(Projection proj, GeoPoint centre, GeoPoint p) {
  const double lat0 = centre.lat * kRad, lat = p.lat * kRad;
  const double dlon = (p.lon - centre.lon) * kRad;
  // East and north components of the direction from the centre, times
  // sin(c), and cos(c), for the angular distance c.
  const double east = std::cos(lat) * std::sin(dlon);
  const double north = std::cos(lat0) * std::sin(lat) -
                       std::sin(lat0) * std::cos(lat) * std::cos(dlon);
  const double cos_c = std::sin(lat0) * std::sin(lat) +
                       std::cos(lat0) * std::cos(lat) * std::cos(dlon);
  const double sin_c = std::hypot(east, north);
  if (sin_c == 0) return {};
  const double r =
      kEarthRadiusKm * radial(proj, std::atan2(sin_c, cos_c)) / sin_c;
  return {r * east, r * north};
}

GeoPoint unproject(Projection proj, GeoPoint centre, PlanePoint q) {
  const double rho = std::hypot(q.x, q.y) / kEarthRadiusKm;
  if (rho == 0) return centre;
  const double c = angular(proj, rho);
  const double lat0 = centre.lat * kRad;
  const double e = q.x / kEarthRadiusKm / rho, n = q.y / kEarthRadiusKm / rho;
  const double lat = std::asin(std::clamp(
      std::cos(c) * std::sin(lat0) + n * std::sin(c) * std::cos(lat0), -1.0,
      1.0));
  const double dlon =
      std::atan2(e * std::sin(c), std::cos(lat0) * std::cos(c) -
                                      n * std::sin(lat0) * std::sin(c));
  return {wrap(centre.lon + dlon / kRad), lat / kRad};
}

double distance_km(GeoPoint a, GeoPoint b) {
  Vec3 u = to_vector(a), v = to_vector(b);
  Vec3 cross{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z,
             u.x * v.y - u.y * v.x};
  double dot = u.x * v.x + u.y * v.y + u.z * v.z;
  return kEarthRadiusKm *
         std::atan2(std::sqrt(cross.x * cross.x + cross.y * cross.y +
                              cross.z * cross.z),
                    dot);
}

std::vector<GeoPoint> framed_points(const MapEvent& event,
                                    std::optional<GeoPoint> truth) {
  std::vector<GeoPoint> points;
  for (const auto& s : event.stations) points.push_back(s.at);
  for (const auto& b : event.bearings)
    for (const auto& part : b.parts)
      points.insert(points.end(), part.begin(), part.end());
  for (const auto& ring : event.ellipse)
    points.insert(points.end(), ring.begin(), ring.end());
  const bool located = event.fix && event.fix->at;
  if (located) points.push_back(*event.fix->at);
  else
    points.insert(points.end(), event.crossings.begin(), event.crossings.end());
  if (truth) points.push_back(*truth);
  return points;
}

MapView choose_view(const std::vector<GeoPoint>& points,
                    std::optional<GeoPoint> fix, double aspect) {
  MapView view;
  // The centre: the fix, else the mean position (a vector mean, which
  // knows no antimeridian), else any point when the mean vanishes.
  GeoPoint centre = points.front();
  if (fix) {
    centre = *fix;
  } else {
    Vec3 sum{0, 0, 0};
    for (GeoPoint p : points) {
      Vec3 v = to_vector(p);
      sum = {sum.x + v.x, sum.y + v.y, sum.z + v.z};
    }
    if (std::hypot(sum.x, sum.y, sum.z) > 1e-9 * points.size())
      centre = to_point(sum);
  }
  double reach = 0;
  for (GeoPoint p : points) reach = std::max(reach, distance_km(centre, p));
  view.projection = reach <= kRegionalRadiusKm
                        ? Projection::stereographic
                        : Projection::azimuthal_equidistant;

  auto bounds = [&](GeoPoint about, PlanePoint& lo, PlanePoint& hi) {
    lo = {INFINITY, INFINITY};
    hi = {-INFINITY, -INFINITY};
    for (GeoPoint p : points) {
      PlanePoint q = project(view.projection, about, p);
      lo = {std::min(lo.x, q.x), std::min(lo.y, q.y)};
      hi = {std::max(hi.x, q.x), std::max(hi.y, q.y)};
    }
  };
  PlanePoint lo, hi;
  bounds(centre, lo, hi);
  if (view.projection == Projection::stereographic) {
    // Move the tangent point to the middle of the points, where the scale
    // is true, and measure again.
    centre = unproject(view.projection, centre,
                       {(lo.x + hi.x) / 2, (lo.y + hi.y) / 2});
    bounds(centre, lo, hi);
  }
  view.centre = centre;

  // A margin of a tenth of the larger side (at least 10 km) all round, then
  // the shorter side widened to the requested shape.
  double half_w = (hi.x - lo.x) / 2, half_h = (hi.y - lo.y) / 2;
  const double margin = std::max(0.1 * 2 * std::max(half_w, half_h), 10.0);
  half_w = std::max(half_w + margin, 25.0);
  half_h = std::max(half_h + margin, 25.0);
  if (half_w < half_h * aspect) half_w = half_h * aspect;
  else half_h = half_w / aspect;
  const PlanePoint mid{(lo.x + hi.x) / 2, (lo.y + hi.y) / 2};

  // The rectangle's corners must lie well inside the disk that holds the
  // whole earth (radius pi earth radii); otherwise the disk is the map.
  const double corner = std::hypot(std::abs(mid.x) + half_w,
                                   std::abs(mid.y) + half_h);
  if (view.projection == Projection::azimuthal_equidistant &&
      corner > 0.95 * std::numbers::pi * kEarthRadiusKm) {
    view.whole_earth = true;
    half_w = half_h = std::numbers::pi * kEarthRadiusKm;
    view.width_km = view.height_km = 2 * half_w;
    view.low = {-half_w, -half_h};
    view.high = {half_w, half_h};
  } else {
    view.low = {mid.x - half_w, mid.y - half_h};
    view.high = {mid.x + half_w, mid.y + half_h};
    view.lower_left = unproject(view.projection, centre, view.low);
    view.upper_right = unproject(view.projection, centre, view.high);
    view.width_km = 2 * half_w;
    view.height_km = 2 * half_h;
  }
  view.scale_bar_km = round_length(view.width_km / 4);
  return view;
}

}  // namespace vestra::map
