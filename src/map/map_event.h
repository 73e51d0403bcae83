// What vestra-map draws for one event, as read from the GeoJSON that
// vestra-fix writes: stations, bearing lines, crossings, the fix and its
// 95% ellipse.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vestra::map {

/// A position in degrees, longitude first as in GeoJSON.
struct GeoPoint {
  double lon = 0;
  double lat = 0;
};

/// A polyline or a ring, in drawing order.
using GeoLine = std::vector<GeoPoint>;

struct MapStation {
  std::string name;
  GeoPoint at;
};

struct MapBearing {
  std::string station;
  std::vector<GeoLine> parts;  ///< more than one when cut at the antimeridian
  bool used = true;
};

struct MapFix {
  std::string status;                 ///< "ok", "ill-conditioned", "no-fix"
  std::string reason;                 ///< empty when there is none
  std::optional<GeoPoint> at;         ///< absent for a no-fix event
  std::optional<double> semi_major_km, semi_minor_km, azimuth_deg;
  std::string origin_time;            ///< ISO 8601, empty when unknown
};

struct MapEvent {
  std::string name;
  std::vector<MapStation> stations;
  std::vector<MapBearing> bearings;
  std::vector<GeoPoint> crossings;
  std::optional<MapFix> fix;
  std::vector<GeoLine> ellipse;  ///< exterior rings; more than one when cut
};

/// Input that cannot be drawn; the message says why.
struct MapError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace vestra::map
