#include "map/map_view.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vestra::map {

namespace {

using geo::deg2rad;
using geo::mean_radius_km;
using geo::rad2deg;

/// Radius in the plane, in earth radii, of a point `c` radians from the
/// centre, and its inverse.
double radial(Projection proj, double c) {
  return proj == Projection::stereographic ? 2 * std::tan(c / 2) : c;
}
double angular(Projection proj, double r) {
  return proj == Projection::stereographic ? 2 * std::atan(r / 2) : r;
}

/// A round length (1, 2 or 5 times a power of ten) not above `km`.
double round_length(double km) {
  double decade = std::pow(10.0, std::floor(std::log10(km)));
  for (double step : {5.0, 2.0})
    if (step * decade <= km) return step * decade;
  return decade;
}

/// The mean position of `points` (a vector mean, which knows no
/// antimeridian), or the first point when the mean vanishes.
LonLat middle(const std::vector<LonLat>& points) {
  geo::Vec3 sum{0, 0, 0};
  for (LonLat p : points) {
    const geo::Vec3 v = geo::unit_vector(p.lat, p.lon);
    sum = {sum.x + v.x, sum.y + v.y, sum.z + v.z};
  }
  if (std::hypot(sum.x, sum.y, sum.z) > 1e-9 * points.size())
    return geo::position(sum);
  return points.front();
}

/// The smallest rectangle of the plane holding some points.
struct Bounds {
  PlanePoint lo, hi;
};

Bounds bounds(Projection proj, LonLat about, const std::vector<LonLat>& points) {
  Bounds b{{INFINITY, INFINITY}, {-INFINITY, -INFINITY}};
  for (LonLat p : points) {
    const PlanePoint q = project(proj, about, p);
    b.lo = {std::min(b.lo.x, q.x), std::min(b.lo.y, q.y)};
    b.hi = {std::max(b.hi.x, q.x), std::max(b.hi.y, q.y)};
  }
  return b;
}

/// Sets the rectangle of `view` (projection and centre chosen) round the
/// bounds `b`: a margin of a tenth of the larger side (at least 10 km) all
/// round, then the shorter side widened to the shape `aspect`; the whole
/// disk when the rectangle would not fit in it.
void frame(MapView& view, const Bounds& b, double aspect) {
  double half_w = (b.hi.x - b.lo.x) / 2, half_h = (b.hi.y - b.lo.y) / 2;
  const double margin = std::max(0.1 * 2 * std::max(half_w, half_h), 10.0);
  half_w = std::max(half_w + margin, 25.0);
  half_h = std::max(half_h + margin, 25.0);
  if (half_w < half_h * aspect) half_w = half_h * aspect;
  else half_h = half_w / aspect;
  const PlanePoint mid{(b.lo.x + b.hi.x) / 2, (b.lo.y + b.hi.y) / 2};

  // The rectangle's corners must lie well inside the disk that holds the
  // whole earth (radius pi earth radii); otherwise the disk is the map.
  const double corner = std::hypot(std::abs(mid.x) + half_w,
                                   std::abs(mid.y) + half_h);
  if (view.projection == Projection::azimuthal_equidistant &&
      corner > 0.95 * std::numbers::pi * mean_radius_km) {
    view.whole_earth = true;
    half_w = half_h = std::numbers::pi * mean_radius_km;
    view.low = {-half_w, -half_h};
    view.high = {half_w, half_h};
  } else {
    view.low = {mid.x - half_w, mid.y - half_h};
    view.high = {mid.x + half_w, mid.y + half_h};
    view.lower_left = unproject(view.projection, view.centre, view.low);
    view.upper_right = unproject(view.projection, view.centre, view.high);
  }
  view.width_km = 2 * half_w;
  view.height_km = 2 * half_h;
}

}  // namespace

PlanePoint project(Projection proj, LonLat centre, LonLat p) {
  const double lat0 = centre.lat * deg2rad, lat = p.lat * deg2rad;
  const double dlon = (p.lon - centre.lon) * deg2rad;
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
      mean_radius_km * radial(proj, std::atan2(sin_c, cos_c)) / sin_c;
  return {r * east, r * north};
}

LonLat unproject(Projection proj, LonLat centre, PlanePoint q) {
  const double rho = std::hypot(q.x, q.y) / mean_radius_km;
  if (rho == 0) return centre;
  const double c = angular(proj, rho);
  const double lat0 = centre.lat * deg2rad;
  const double e = q.x / mean_radius_km / rho, n = q.y / mean_radius_km / rho;
  const double lat = std::asin(std::clamp(
      std::cos(c) * std::sin(lat0) + n * std::sin(c) * std::cos(lat0), -1.0,
      1.0));
  const double dlon =
      std::atan2(e * std::sin(c), std::cos(lat0) * std::cos(c) -
                                      n * std::sin(lat0) * std::sin(c));
  return {geo::wrap180(centre.lon + dlon * rad2deg), lat * rad2deg};
}

std::vector<LonLat> framed_points(const MapEvent& event,
                                  std::optional<LonLat> truth) {
  std::vector<LonLat> points;
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

MapView choose_view(const std::vector<LonLat>& points,
                    std::optional<LonLat> fix, double aspect) {
  MapView view;
  LonLat centre = fix ? *fix : middle(points);
  double reach = 0;
  for (LonLat p : points) reach = std::max(reach, geo::distance_km(centre, p));
  view.projection = reach <= kRegionalRadiusKm
                        ? Projection::stereographic
                        : Projection::azimuthal_equidistant;
  Bounds b = bounds(view.projection, centre, points);
  if (view.projection == Projection::stereographic) {
    // Move the tangent point to the middle of the points, where the scale
    // is true, and measure again.
    centre = unproject(view.projection, centre,
                       {(b.lo.x + b.hi.x) / 2, (b.lo.y + b.hi.y) / 2});
    b = bounds(view.projection, centre, points);
  }
  view.centre = centre;
  frame(view, b, aspect);
  view.scale_bar_km = round_length(view.width_km / 4);
  return view;
}

}  // namespace vestra::map
