#include "map/geojson_reader.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <nlohmann/json.hpp>

namespace vestra::map {

namespace {

using nlohmann::json;

/// Errors about one feature carry its index in "features".
[[noreturn]] void fail(std::size_t index, const std::string& what) {
  throw MapError("feature " + std::to_string(index) + ": " + what);
}

GeoPoint position(const json& p, std::size_t index) {
  if (!p.is_array() || p.size() < 2 || !p[0].is_number() ||
      !p[1].is_number())
    fail(index, "a position must be an array [longitude, latitude]");
  GeoPoint g{p[0].get<double>(), p[1].get<double>()};
  if (!std::isfinite(g.lon) || !std::isfinite(g.lat) || g.lat < -90 ||
      g.lat > 90 || g.lon < -180 || g.lon > 180)
    fail(index, "position out of range: " + p.dump());
  return g;
}

GeoLine positions(const json& a, std::size_t index, std::size_t minimum) {
  if (!a.is_array() || a.size() < minimum)
    fail(index, "a line or ring needs at least " + std::to_string(minimum) +
                    " positions");
  GeoLine line;
  for (const auto& p : a) line.push_back(position(p, index));
  return line;
}

/// The feature's geometry if its "type" is one of `types`, else an error.
const json& geometry(const json& feature, std::size_t index,
                     const std::string& kind,
                     std::initializer_list<const char*> types) {
  static const json none;
  auto it = feature.find("geometry");
  const json& g = it == feature.end() ? none : *it;
  if (g.is_object() && g.contains("type") && g["type"].is_string() &&
      g.contains("coordinates"))
    for (const char* t : types)
      if (g["type"] == t) return g;
  std::string expected;
  for (const char* t : types) expected += (expected.empty() ? "" : " or ") +
                                          std::string(t);
  fail(index, "the geometry of a \"" + kind + "\" must be a " + expected);
}

GeoPoint point(const json& feature, std::size_t index, const std::string& kind) {
  return position(geometry(feature, index, kind, {"Point"})["coordinates"],
                  index);
}

/// LineString or MultiLineString as a list of parts.
std::vector<GeoLine> lines(const json& feature, std::size_t index,
                           const std::string& kind) {
  const json& g =
      geometry(feature, index, kind, {"LineString", "MultiLineString"});
  std::vector<GeoLine> parts;
  if (g["type"] == "LineString") {
    parts.push_back(positions(g["coordinates"], index, 2));
  } else {
    if (!g["coordinates"].is_array()) fail(index, "bad MultiLineString");
    for (const auto& l : g["coordinates"])
      parts.push_back(positions(l, index, 2));
  }
  return parts;
}

/// The exterior rings of a Polygon or MultiPolygon (holes are not drawn).
std::vector<GeoLine> rings(const json& feature, std::size_t index,
                           const std::string& kind) {
  const json& g = geometry(feature, index, kind, {"Polygon", "MultiPolygon"});
  json polygons = g["type"] == "Polygon" ? json::array({g["coordinates"]})
                                         : g["coordinates"];
  if (!polygons.is_array()) fail(index, "bad MultiPolygon");
  std::vector<GeoLine> out;
  for (const auto& polygon : polygons) {
    if (!polygon.is_array() || polygon.empty())
      fail(index, "a polygon needs an exterior ring");
    out.push_back(positions(polygon[0], index, 4));
  }
  return out;
}

std::string text(const json& props, const char* key) {
  auto it = props.find(key);
  return it != props.end() && it->is_string() ? it->get<std::string>() : "";
}

std::optional<double> number(const json& props, const char* key) {
  auto it = props.find(key);
  if (it == props.end() || !it->is_number()) return std::nullopt;
  double v = it->get<double>();
  return std::isfinite(v) ? std::optional<double>(v) : std::nullopt;
}

MapFix fix(const json& feature, const json& props, std::size_t index) {
  MapFix f;
  f.status = text(props, "status");
  f.reason = text(props, "reason");
  f.origin_time = text(props, "origin_time");
  f.semi_major_km = number(props, "semi_major_km");
  f.semi_minor_km = number(props, "semi_minor_km");
  f.azimuth_deg = number(props, "azimuth_deg");
  auto g = feature.find("geometry");
  if (g != feature.end() && !g->is_null()) f.at = point(feature, index, "fix");
  return f;
}

}  // namespace

std::vector<MapEvent> read_geojson(const std::string& input) {
  json doc;
  try {
    doc = json::parse(input);
  } catch (const json::exception& e) {
    // "[json.exception.parse_error.101] parse error at line 3, column 1: ..."
    std::string what = e.what();
    auto bracket = what.find("] ");
    throw MapError("not valid JSON: " + (bracket == std::string::npos
                                             ? what
                                             : what.substr(bracket + 2)));
  }
  if (!doc.is_object() || doc.value("type", json()) != "FeatureCollection" ||
      !doc.contains("features") || !doc["features"].is_array())
    throw MapError("not a GeoJSON FeatureCollection");

  std::vector<MapEvent> events;
  std::map<std::string, std::size_t> by_name;
  const json& features = doc["features"];
  for (std::size_t i = 0; i < features.size(); ++i) {
    const json& feature = features[i];
    if (!feature.is_object() || !feature.contains("properties") ||
        !feature["properties"].is_object())
      fail(i, "not a Feature with properties");
    const json& props = feature["properties"];
    if (!props.contains("event") || !props["event"].is_string() ||
        !props.contains("kind") || !props["kind"].is_string())
      fail(i, "properties \"event\" and \"kind\" (strings) are required");
    const std::string name = props["event"], kind = props["kind"];
    static const char* const kinds[] = {"station", "bearing", "crossing",
                                        "fix", "ellipse95"};
    if (std::find(std::begin(kinds), std::end(kinds), kind) == std::end(kinds))
      continue;  // a kind added later by the producer

    auto [slot, added] = by_name.try_emplace(name, events.size());
    if (added) {
      events.emplace_back();
      events.back().name = name;
    }
    MapEvent& event = events[slot->second];
    if (kind == "station") {
      event.stations.push_back({text(props, "station"), point(feature, i, kind)});
    } else if (kind == "bearing") {
      auto used = props.find("used");
      event.bearings.push_back(
          {text(props, "station"), lines(feature, i, kind),
           used == props.end() || !used->is_boolean() || used->get<bool>()});
    } else if (kind == "crossing") {
      event.crossings.push_back(point(feature, i, kind));
    } else if (kind == "fix") {
      if (event.fix) fail(i, "a second fix for event \"" + name + "\"");
      event.fix = fix(feature, props, i);
    } else {
      for (auto& ring : rings(feature, i, kind))
        event.ellipse.push_back(std::move(ring));
    }
  }
  if (events.empty())
    throw MapError("no stations, bearings or fixes in the FeatureCollection");
  return events;
}

}  // namespace vestra::map
