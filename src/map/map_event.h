// What vestra-map draws for one event, as read from the GeoJSON that
// vestra-fix writes: stations, bearing lines, crossings, the fix and its
// 95% ellipse. Positions in degrees.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "geo/antimeridian.h"
#include "geo/sphere.h"

namespace vestra::map {

using geo::LonLat;
/// A polyline or a ring, in drawing order.
using geo::Line;

struct MapStation {
  std::string name;
  LonLat at;
};

struct MapBearing {
  std::string station;
  std::vector<Line> parts;  ///< more than one when cut at the antimeridian
  bool used = true;
};

struct MapFix {
  std::string status;                 ///< "ok", "ill-conditioned", "no-fix"
  std::string reason;                 ///< empty when there is none
  std::optional<LonLat> at;           ///< absent for a no-fix event
  std::optional<double> semi_major_km, semi_minor_km, azimuth_deg;
  std::string origin_time;            ///< ISO 8601, empty when unknown
};

struct MapEvent {
  std::string name;
  std::vector<MapStation> stations;
  std::vector<MapBearing> bearings;
  std::vector<LonLat> crossings;
  std::optional<MapFix> fix;
  std::vector<Line> ellipse;  ///< exterior rings; more than one when cut
};

/// Input that cannot be drawn; the message says why.
struct MapError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace vestra::map
