#include "fix/writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include <nlohmann/json.hpp>

#include "fix/iso_time.h"
#include "geo/antimeridian.h"
#include "geo/vocabulary.h"

namespace fix {

namespace {

using geo::Key;
using geo::Kind;

constexpr int coordinate_decimals = 7;
/// Longest step between the points of a drawn geodesic, km.
constexpr double max_segment_km = 10.0;
/// Length of a bearing line of an event without a fix, km.
constexpr double no_fix_line_km = 1500.0;
/// Vertices of the drawn ellipse.
constexpr int ellipse_vertices = 72;

std::string json_string(const std::string& s) {
  return nlohmann::json(s).dump(-1, ' ', false,
                                nlohmann::json::error_handler_t::replace);
}

std::string in_quotes(std::string_view word) {
  return "\"" + std::string(word) + "\"";
}

std::string boolean(bool b) { return b ? "true" : "false"; }

std::string padded(const std::string& s, std::size_t width) {
  return s.size() >= width ? s : s + std::string(width - s.size(), ' ');
}

std::string right(const std::string& s, std::size_t width) {
  return s.size() >= width ? s : std::string(width - s.size(), ' ') + s;
}

std::string fixed(double value, int decimals) {
  if (!std::isfinite(value)) return "-";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, value);
  std::string s = buf;
  if (s.find_first_not_of("-0.") == std::string::npos && s[0] == '-')
    s.erase(0, 1);
  return s;
}

/// The word of a verdict in every format.
std::string_view status_word(Status s) {
  switch (s) {
    case Status::ok:
      return geo::name(geo::Verdict::ok);
    case Status::ill_conditioned:
      return geo::name(geo::Verdict::ill_conditioned);
    case Status::no_fix:
      break;
  }
  return geo::name(geo::Verdict::no_fix);
}

/// The members of one JSON object, "name":value, written to `out` in the
/// order they are added, between the braces.
class Members {
 public:
  explicit Members(std::string& out) : out_(out) { out_ += '{'; }
  Members& add(Key key, std::string_view value) {
    out_ += first_ ? "\"" : ",\"";
    out_ += geo::name(key);
    out_ += "\":";
    out_ += value;
    first_ = false;
    return *this;
  }
  void close() { out_ += '}'; }

 private:
  std::string& out_;
  bool first_ = true;
};

std::string time_or_null(const Solution& s, double offset_s) {
  if (!s.has_origin) return "null";
  return in_quotes(format_iso_time(s.origin_time + offset_s));
}

std::string interval_or_null(const Solution& s) {
  if (!s.has_origin) return "null";
  const double half = normal975 * s.origin_sigma_s;
  return "[" + time_or_null(s, -half) + "," + time_or_null(s, half) + "]";
}

std::string reason_json(const Solution& s) {
  return s.status == Status::ok ? "null" : json_string(s.reason);
}

// The ellipse's members, common to the fix of every format.
void add_ellipse(Members& m, const Solution& s) {
  m.add(Key::semi_major_km, number(s.semi_major_km, 3))
      .add(Key::semi_minor_km, number(s.semi_minor_km, 3))
      .add(Key::azimuth_deg, number(s.azimuth_deg, 2));
}

// The fix's members after "status", common to JSON and GeoJSON but for the
// ellipse's.
void add_fix(Members& m, const Solution& s) {
  m.add(Key::reason, reason_json(s))
      .add(Key::latitude, number(s.latitude, coordinate_decimals))
      .add(Key::longitude, number(s.longitude, coordinate_decimals));
}

void add_times(Members& m, const Event& event, const Solution& s) {
  m.add(Key::origin_time, time_or_null(s, 0.0))
      .add(Key::origin_time95, interval_or_null(s))
      .add(Key::refused, std::to_string(event.refused));
}

std::string point(const geo::LonLat& p) {
  return "[" + number(p.lon, coordinate_decimals) + "," +
         number(p.lat, coordinate_decimals) + "]";
}

std::string point_geometry(const geo::LonLat& p) {
  return "{\"type\":\"Point\",\"coordinates\":" + point(p) + "}";
}

std::string line_coordinates(const geo::Line& line) {
  std::string s = "[";
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (i) s += ',';
    s += point(line[i]);
  }
  return s + "]";
}

// A LineString or Polygon (one ring) of one part, or the MultiLineString
// or MultiPolygon of several.
std::string geometry(const std::vector<geo::Line>& parts, bool polygon) {
  auto part = [&](const geo::Line& p) {
    return polygon ? "[" + line_coordinates(p) + "]" : line_coordinates(p);
  };
  std::string g = std::string("{\"type\":\"") +
                  (parts.size() == 1 ? "" : "Multi") +
                  (polygon ? "Polygon" : "LineString") + "\",\"coordinates\":";
  if (parts.size() == 1) {
    g += part(parts[0]);
  } else {
    g += '[';
    for (std::size_t k = 0; k < parts.size(); ++k)
      g += (k ? "," : "") + part(parts[k]);
    g += ']';
  }
  return g + "}";
}

/// The features of one event: each on a line of its own, joined by commas.
class Features {
 public:
  Features(std::string& out, const std::string& event)
      : out_(out), event_(json_string(event)) {}
  /// Starts a feature of `kind` with its geometry (GeoJSON text) and the
  /// properties "event" and "kind"; the caller adds the others, then ends
  /// it with end().
  Members begin(Kind kind, std::string_view geometry) {
    out_ += first_ ? "\n" : ",\n";
    first_ = false;
    out_ += "{\"type\":\"Feature\",\"geometry\":";
    out_ += geometry;
    out_ += ",\"properties\":";
    Members m(out_);
    m.add(Key::event, event_).add(Key::kind, in_quotes(geo::name(kind)));
    return m;
  }
  void end(Members& properties) {
    properties.close();
    out_ += '}';
  }

 private:
  std::string& out_;
  std::string event_;  // as JSON
  bool first_ = true;
};

// Stations: each site once.
void add_stations(Features& features, const Event& event) {
  const auto& dets = event.detections;
  for (std::size_t i = 0; i < dets.size(); ++i) {
    bool seen = false;
    for (std::size_t j = 0; j < i && !seen; ++j)
      seen = dets[j].station == dets[i].station &&
             dets[j].latitude == dets[i].latitude &&
             dets[j].longitude == dets[i].longitude;
    if (seen) continue;
    Members p = features.begin(
        Kind::station, point_geometry({dets[i].longitude, dets[i].latitude}));
    p.add(Key::station, json_string(dets[i].station));
    features.end(p);
  }
}

// Bearings: geodesics from the station along the bearing, to a little
// beyond the fix.
void add_bearings(Features& features, const Event& event, const Solution& s,
                  const geo::Earth& earth) {
  const bool located = s.status != Status::no_fix;
  for (std::size_t i = 0; i < event.detections.size(); ++i) {
    const Detection& d = event.detections[i];
    const DetectionFit& f = s.detections[i];
    const double length =
        located && std::isfinite(f.distance_km)
            ? std::min(1.1 * f.distance_km + 20.0, 19000.0)
            : no_fix_line_km;
    const geo::Line line = geo::geodesic_path(
        earth, d.latitude, d.longitude, d.back_azimuth, length,
        max_segment_km);
    Members p =
        features.begin(Kind::bearing, geometry(geo::cut_line(line), false));
    p.add(Key::station, json_string(d.station))
        .add(Key::back_azimuth, number(d.back_azimuth, 6))
        .add(Key::used, boolean(f.used));
    features.end(p);
  }
}

}  // namespace

std::string number(double value, int decimals) {
  if (!std::isfinite(value)) return "null";
  std::string s = fixed(value, decimals);
  if (s.find('.') != std::string::npos) {
    s.erase(s.find_last_not_of('0') + 1);
    if (s.back() == '.') s.pop_back();
  }
  if (s == "-0") s = "0";
  return s;
}

std::string Writer::prologue(Format format) {
  if (format == Format::quakeml) return QuakemlWriter::prologue();
  return format == Format::geojson
             ? "{\"type\":\"FeatureCollection\",\"features\":["
             : "";
}

std::string_view Writer::separator(Format format) {
  return format == Format::geojson ? "," : "";
}

std::string Writer::epilogue(Format format) {
  if (format == Format::quakeml) return QuakemlWriter::epilogue();
  return format == Format::geojson ? "\n]}\n" : "";
}

void Writer::write(const Event& event, const Solution& solution,
                   std::string& out, std::size_t index) const {
  switch (format_) {
    case Format::text:
      write_text(event, solution, out);
      break;
    case Format::json:
      write_json(event, solution, out);
      break;
    case Format::geojson:
      write_geojson(event, solution, out);
      break;
    case Format::quakeml:
      quakeml_.write(event, solution, index, out);
      break;
  }
}

void Writer::write_text(const Event& event, const Solution& s,
                        std::string& out) const {
  out += "event ";
  out += event.name.empty() ? "(unnamed)" : event.name;
  out += ": ";
  out += status_word(s.status);
  if (s.status != Status::ok) out += " (" + s.reason + ")";
  out += '\n';
  if (s.status != Status::no_fix) {
    out += "  fix          " + fixed(std::fabs(s.latitude), 5) +
           (s.latitude < 0 ? " S  " : " N  ") +
           fixed(std::fabs(s.longitude), 5) + (s.longitude < 0 ? " W" : " E") +
           '\n';
    out += "  ellipse95    " + fixed(s.semi_major_km, 1) + " km x " +
           fixed(s.semi_minor_km, 1) + " km, major axis " +
           fixed(s.azimuth_deg, 1) + " deg\n";
    if (s.has_origin)
      out += "  origin time  " + format_iso_time(s.origin_time) + " +- " +
             fixed(normal975 * s.origin_sigma_s, 1) + " s (95%)\n";
  }
  if (event.refused)
    out += "  refused      " + std::to_string(event.refused) +
           " detection(s) of bad input\n";
  if (event.detections.empty()) return;
  out += "  station         back_az   res_deg     res_s  used\n";
  for (std::size_t i = 0; i < event.detections.size(); ++i) {
    const Detection& d = event.detections[i];
    const DetectionFit& f = s.detections[i];
    out += "  " + padded(d.station.empty() ? "-" : d.station, 14) +
           right(fixed(d.back_azimuth, 2), 8) +
           right(fixed(f.residual_deg, 2), 10) +
           right(fixed(f.residual_s, 1), 10) + (f.used ? "  yes\n" : "  no\n");
  }
}

void Writer::write_json(const Event& event, const Solution& s,
                        std::string& out) const {
  std::string ellipse = "null";
  if (s.status != Status::no_fix) {
    ellipse.clear();
    Members e(ellipse);
    add_ellipse(e, s);
    e.close();
  }
  std::string detections = "[";
  for (std::size_t i = 0; i < event.detections.size(); ++i) {
    const Detection& d = event.detections[i];
    const DetectionFit& f = s.detections[i];
    if (i) detections += ',';
    Members m(detections);
    m.add(Key::station, json_string(d.station))
        .add(Key::back_azimuth, number(d.back_azimuth, 6))
        .add(Key::residual_deg, number(f.residual_deg, 3))
        .add(Key::residual_s, number(f.residual_s, 2))
        .add(Key::used, boolean(f.used));
    m.close();
  }
  detections += ']';

  Members m(out);
  m.add(Key::event, json_string(event.name))
      .add(Key::status, in_quotes(status_word(s.status)));
  add_fix(m, s);
  m.add(Key::ellipse95, ellipse);
  add_times(m, event, s);
  m.add(Key::detections, detections);
  m.close();
  out += '\n';
}

void Writer::write_geojson(const Event& event, const Solution& s,
                           std::string& out) const {
  const bool located = s.status != Status::no_fix;
  Features features(out, event.name);
  add_stations(features, event);
  add_bearings(features, event, s, earth_);
  for (const Crossing& c : s.crossings) {
    Members p = features.begin(Kind::crossing, point_geometry(c.at));
    p.add(Key::stations,
          "[" + json_string(event.detections[c.first].station) + "," +
              json_string(event.detections[c.second].station) + "]");
    features.end(p);
  }

  Members fix = features.begin(
      Kind::fix,
      located ? point_geometry({s.longitude, s.latitude}) : "null");
  fix.add(Key::status, in_quotes(status_word(s.status)));
  add_fix(fix, s);
  add_ellipse(fix, s);
  add_times(fix, event, s);
  // The crossing features are those of the pairs crossed for the start:
  // every pair of a small event, a sample of a large one.
  fix.add(Key::pairs, std::to_string(s.pairs))
      .add(Key::pairs_crossed, std::to_string(s.pairs_crossed));
  features.end(fix);
  if (!located) return;

  const geo::Line ring = geo::ellipse_ring(
      earth_, s.latitude, s.longitude, s.semi_major_km, s.semi_minor_km,
      s.azimuth_deg, ellipse_vertices);
  Members p =
      features.begin(Kind::ellipse95, geometry(geo::cut_ring(ring), true));
  add_ellipse(p, s);
  features.end(p);
}

}  // namespace fix
