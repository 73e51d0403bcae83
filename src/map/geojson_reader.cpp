#include "map/geojson_reader.h"

#include <cmath>
#include <map>

#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "geo/vocabulary.h"

namespace vestra::map {

namespace {

using geo::Key;
using geo::Kind;
using nlohmann::json;

/// Deepest nesting of arrays and objects read. The deepest a FeatureCollection
/// of vestra-fix goes is 8 (a position in a MultiPolygon); the limit keeps
/// every later walk through a value, and its messages, shallow.
constexpr int max_depth = 64;

/// Errors about one feature carry its index in "features".
[[noreturn]] void fail(std::size_t index, const std::string& what) {
  throw MapError("feature " + std::to_string(index) + ": " + what);
}

const json* member(const json& object, std::string_view name) {
  auto it = object.find(name);
  return it == object.end() ? nullptr : &*it;
}

const json* member(const json& object, Key key) {
  return member(object, geo::name(key));
}

std::string text(const json& props, Key key) {
  const json* v = member(props, key);
  return v && v->is_string() ? v->get<std::string>() : "";
}

std::optional<double> number(const json& props, Key key) {
  const json* v = member(props, key);
  if (!v || !v->is_number()) return std::nullopt;
  const double d = v->get<double>();
  return std::isfinite(d) ? std::optional<double>(d) : std::nullopt;
}

std::string degrees(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.10g", v);
  return buf;
}

LonLat position(const json& p, std::size_t index) {
  if (!p.is_array() || p.size() < 2 || !p[0].is_number() ||
      !p[1].is_number())
    fail(index, "a position must be an array [longitude, latitude]");
  const LonLat g{p[0].get<double>(), p[1].get<double>()};
  if (!(g.lat >= -90 && g.lat <= 90 && g.lon >= -180 && g.lon <= 180))
    fail(index, "position out of range: [" + degrees(g.lon) + ", " +
                    degrees(g.lat) + "]");
  return g;
}

Line positions(const json& a, std::size_t index, std::size_t minimum) {
  if (!a.is_array() || a.size() < minimum)
    fail(index, "a line or ring needs at least " + std::to_string(minimum) +
                    " positions");
  Line line;
  for (const auto& p : a) line.push_back(position(p, index));
  return line;
}

/// The coordinates of the feature's geometry if its "type" is one of
/// `types` (the one found in `type`), else an error.
const json& coordinates(const json& feature, std::size_t index, Kind kind,
                        std::initializer_list<const char*> types,
                        std::string& type) {
  const json* g = member(feature, "geometry");
  if (g && g->is_object()) {
    const json* t = member(*g, "type");
    const json* c = member(*g, "coordinates");
    if (t && t->is_string() && c)
      for (const char* name : types)
        if (*t == name) {
          type = name;
          return *c;
        }
  }
  std::string expected;
  for (const char* t : types)
    expected += (expected.empty() ? "" : " or ") + std::string(t);
  fail(index, "the geometry of a \"" + std::string(geo::name(kind)) +
                  "\" must be a " + expected);
}

LonLat point(const json& feature, std::size_t index, Kind kind) {
  std::string type;
  return position(coordinates(feature, index, kind, {"Point"}, type), index);
}

/// LineString or MultiLineString as a list of parts.
std::vector<Line> lines(const json& feature, std::size_t index, Kind kind) {
  std::string type;
  const json& c = coordinates(feature, index, kind,
                              {"LineString", "MultiLineString"}, type);
  if (type == "LineString") return {positions(c, index, 2)};
  if (!c.is_array()) fail(index, "bad MultiLineString");
  std::vector<Line> parts;
  for (const auto& l : c) parts.push_back(positions(l, index, 2));
  return parts;
}

/// The exterior rings of a Polygon or MultiPolygon (holes are not drawn).
std::vector<Line> rings(const json& feature, std::size_t index, Kind kind) {
  std::string type;
  const json& c =
      coordinates(feature, index, kind, {"Polygon", "MultiPolygon"}, type);
  auto exterior = [&](const json& polygon) {
    if (!polygon.is_array() || polygon.empty())
      fail(index, "a polygon needs an exterior ring");
    return positions(polygon[0], index, 4);
  };
  if (type == "Polygon") return {exterior(c)};
  if (!c.is_array()) fail(index, "bad MultiPolygon");
  std::vector<Line> out;
  for (const auto& polygon : c) out.push_back(exterior(polygon));
  return out;
}

MapFix fix(const json& feature, const json& props, std::size_t index) {
  MapFix f;
  f.status = text(props, Key::status);
  f.reason = text(props, Key::reason);
  f.origin_time = text(props, Key::origin_time);
  f.semi_major_km = number(props, Key::semi_major_km);
  f.semi_minor_km = number(props, Key::semi_minor_km);
  f.azimuth_deg = number(props, Key::azimuth_deg);
  const json* g = member(feature, "geometry");
  if (g && !g->is_null()) f.at = point(feature, index, Kind::fix);
  return f;
}

/// Adds the feature to its event's drawing.
void add(MapEvent& event, Kind kind, const json& feature, const json& props,
         std::size_t i) {
  switch (kind) {
    case Kind::station:
      event.stations.push_back({text(props, Key::station), point(feature, i, kind)});
      break;
    case Kind::bearing: {
      const json* used = member(props, Key::used);
      event.bearings.push_back({text(props, Key::station),
                                lines(feature, i, kind),
                                !used || !used->is_boolean() || used->get<bool>()});
      break;
    }
    case Kind::crossing:
      event.crossings.push_back(point(feature, i, kind));
      break;
    case Kind::fix:
      if (event.fix) fail(i, "a second fix for event " + cli::quote(event.name));
      event.fix = fix(feature, props, i);
      break;
    case Kind::ellipse95:
      for (auto& ring : rings(feature, i, kind))
        event.ellipse.push_back(std::move(ring));
      break;
  }
}

/// The JSON library's message without its prefix ("[json.exception.
/// parse_error.101] "), the piece of input it quotes ('...') bounded.
std::string library_message(std::string what) {
  const auto bracket = what.find("] ");
  if (bracket != std::string::npos) what.erase(0, bracket + 2);
  const auto open = what.find('\''), close = what.rfind('\'');
  if (open != std::string::npos && close > open)
    what = what.substr(0, open) +
           cli::quote(std::string_view(what).substr(open + 1, close - open - 1)) +
           what.substr(close + 1);
  return what;
}

/// The document, refused when it is not JSON or nests too deeply.
json parse(const std::string& input) {
  auto shallow = [](int depth, json::parse_event_t event, json&) {
    if ((event == json::parse_event_t::object_start ||
         event == json::parse_event_t::array_start) &&
        depth >= max_depth)
      throw MapError("arrays and objects nested more than " +
                     std::to_string(max_depth) + " levels deep");
    return true;
  };
  try {
    return json::parse(input, shallow);
  } catch (const json::exception& e) {
    throw MapError("not valid JSON: " + library_message(e.what()));
  }
}

}  // namespace

std::vector<MapEvent> read_geojson(const std::string& input) {
  const json doc = parse(input);
  const json* type = doc.is_object() ? member(doc, "type") : nullptr;
  const json* features = doc.is_object() ? member(doc, "features") : nullptr;
  if (!type || *type != "FeatureCollection" || !features ||
      !features->is_array())
    throw MapError("not a GeoJSON FeatureCollection");

  std::vector<MapEvent> events;
  std::map<std::string, std::size_t> by_name;
  for (std::size_t i = 0; i < features->size(); ++i) {
    const json& feature = (*features)[i];
    const json* props =
        feature.is_object() ? member(feature, "properties") : nullptr;
    if (!props || !props->is_object())
      fail(i, "not a Feature with properties");
    const json* name = member(*props, Key::event);
    const json* kind = member(*props, Key::kind);
    if (!name || !name->is_string() || !kind || !kind->is_string())
      fail(i, "properties \"" + std::string(geo::name(Key::event)) +
                  "\" and \"" + std::string(geo::name(Key::kind)) +
                  "\" (strings) are required");
    const auto known = geo::kind_named(kind->get<std::string>());
    if (!known) continue;  // a kind added later by the producer
    auto [slot, added] = by_name.try_emplace(name->get<std::string>(),
                                             events.size());
    if (added) {
      events.emplace_back();
      events.back().name = slot->first;
    }
    add(events[slot->second], *known, feature, *props, i);
  }
  if (events.empty())
    throw MapError("no stations, bearings or fixes in the FeatureCollection");
  return events;
}

}  // namespace vestra::map
