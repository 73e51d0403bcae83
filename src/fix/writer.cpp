#include "fix/writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "fix/iso_time.h"

namespace fix {

namespace {

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

std::string point(const LonLat& p) {
  return "[" + number(p.lon, coordinate_decimals) + "," +
         number(p.lat, coordinate_decimals) + "]";
}

std::string line_coordinates(const std::vector<LonLat>& line) {
  std::string s = "[";
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (i) s += ',';
    s += point(line[i]);
  }
  return s + "]";
}

// A LineString or Polygon (one ring) of one part, or the MultiLineString
// or MultiPolygon of several.
std::string geometry(const std::vector<std::vector<LonLat>>& parts,
                     bool polygon) {
  auto part = [&](const std::vector<LonLat>& p) {
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

// Signed area (twice, in square degrees) of a ring by the shoelace formula:
// positive for counter-clockwise.
double ring_area(const std::vector<LonLat>& ring) {
  double a = 0.0;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
    a += ring[j].lon * ring[i].lat - ring[i].lon * ring[j].lat;
  return a;
}

// Sutherland-Hodgman clipping of a polygon to lon >= bound (keep_above) or
// lon <= bound.
std::vector<LonLat> clip(const std::vector<LonLat>& poly, double bound,
                         bool keep_above) {
  std::vector<LonLat> out;
  auto inside = [&](const LonLat& p) {
    return keep_above ? p.lon >= bound : p.lon <= bound;
  };
  for (std::size_t i = 0; i < poly.size(); ++i) {
    const LonLat& a = poly[(i + poly.size() - 1) % poly.size()];
    const LonLat& b = poly[i];
    if (inside(b)) {
      if (!inside(a))
        out.push_back({bound, a.lat + (bound - a.lon) / (b.lon - a.lon) *
                                          (b.lat - a.lat)});
      out.push_back(b);
    } else if (inside(a)) {
      out.push_back(
          {bound, a.lat + (bound - a.lon) / (b.lon - a.lon) * (b.lat - a.lat)});
    }
  }
  return out;
}

void add_feature(std::string& out, const std::string& event, const char* kind,
                 const std::string& geometry, const std::string& properties) {
  out += ",\n{\"type\":\"Feature\",\"geometry\":";
  out += geometry;
  out += ",\"properties\":{\"event\":";
  out += json_string(event);
  out += ",\"kind\":\"";
  out += kind;
  out += '"';
  if (!properties.empty()) {
    out += ',';
    out += properties;
  }
  out += "}}";
}

std::string time_or_null(const Solution& s, double offset_s) {
  if (!s.has_origin) return "null";
  return "\"" + format_iso_time(s.origin_time + offset_s) + "\"";
}

std::string interval_or_null(const Solution& s) {
  if (!s.has_origin) return "null";
  const double half = normal975 * s.origin_sigma_s;
  return "[" + time_or_null(s, -half) + "," + time_or_null(s, half) + "]";
}

// The properties common to the fix of every format.
std::string ellipse_properties(const Solution& s) {
  return "\"semi_major_km\":" + number(s.semi_major_km, 3) +
         ",\"semi_minor_km\":" + number(s.semi_minor_km, 3) +
         ",\"azimuth_deg\":" + number(s.azimuth_deg, 2);
}

std::string reason_json(const Solution& s) {
  return s.status == Status::ok ? "null" : json_string(s.reason);
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

std::vector<std::vector<LonLat>> cut_line(const std::vector<LonLat>& line) {
  std::vector<std::vector<LonLat>> parts(1);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const LonLat& b = line[i];
    if (i > 0) {
      const LonLat& a = line[i - 1];
      const double d = b.lon - a.lon;
      if (std::fabs(d) > 180.0) {
        // Crossing: westward when d > 180 (a near -180, b near +180).
        const double edge = d > 180.0 ? -180.0 : 180.0;
        const double b_lon = d > 180.0 ? b.lon - 360.0 : b.lon + 360.0;
        const double lat =
            a.lat + (edge - a.lon) / (b_lon - a.lon) * (b.lat - a.lat);
        if (parts.back().empty() || parts.back().back().lon != edge ||
            parts.back().back().lat != lat)
          parts.back().push_back({edge, lat});
        parts.push_back({{-edge, lat}});
      }
    }
    if (parts.back().empty() || parts.back().back().lon != b.lon ||
        parts.back().back().lat != b.lat)
      parts.back().push_back(b);
  }
  std::vector<std::vector<LonLat>> kept;
  for (auto& p : parts)
    if (p.size() >= 2) kept.push_back(std::move(p));
  return kept;
}

std::vector<std::vector<LonLat>> cut_ring(const std::vector<LonLat>& ring) {
  std::vector<std::vector<LonLat>> parts;
  if (ring.size() < 3) return parts;
  // Longitudes made continuous along the ring.
  std::vector<LonLat> u{ring[0]};
  for (std::size_t i = 1; i < ring.size(); ++i)
    u.push_back({u.back().lon + std::remainder(ring[i].lon - ring[i - 1].lon,
                                               360.0),
                 ring[i].lat});
  const double turn =
      u.back().lon + std::remainder(ring[0].lon - ring.back().lon, 360.0) -
      u[0].lon;
  if (std::fabs(turn) > 180.0) {
    // The ring goes once round a pole: close it along the pole.
    const double pole = turn > 0.0 ? 90.0 : -90.0;
    u.push_back({u[0].lon + turn, u[0].lat});
    u.push_back({u[0].lon + turn, pole});
    u.push_back({u[0].lon, pole});
  }
  for (int k = -2; k <= 2; ++k) {
    const double shift = 360.0 * k;
    std::vector<LonLat> p = clip(clip(u, shift - 180.0, true), shift + 180.0,
                                 false);
    if (p.size() < 3) continue;
    for (LonLat& q : p) q.lon -= shift;
    if (!(ring_area(p) > 0.0)) continue;
    p.push_back(p.front());
    // Edges along a pole span up to 360 degrees of longitude: split them so
    // that no edge is read as the short way across the antimeridian.
    std::vector<LonLat> dense{p.front()};
    for (std::size_t i = 1; i < p.size(); ++i) {
      const LonLat a = p[i - 1], b = p[i];
      const int pieces = static_cast<int>(std::ceil(std::fabs(b.lon - a.lon) / 90.0));
      for (int k = 1; k < pieces; ++k)
        dense.push_back({a.lon + (b.lon - a.lon) * k / pieces,
                         a.lat + (b.lat - a.lat) * k / pieces});
      dense.push_back(b);
    }
    parts.push_back(std::move(dense));
  }
  return parts;
}

std::string Writer::prologue(Format format) {
  if (format == Format::quakeml) return QuakemlWriter::prologue();
  return format == Format::geojson
             ? "{\"type\":\"FeatureCollection\",\"features\":["
             : "";
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
  out += status_name(s.status);
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
  const bool located = s.status != Status::no_fix;
  out += "{\"event\":" + json_string(event.name) + ",\"status\":\"" +
         status_name(s.status) + "\",\"reason\":" + reason_json(s) +
         ",\"latitude\":" + number(s.latitude, coordinate_decimals) +
         ",\"longitude\":" + number(s.longitude, coordinate_decimals) +
         ",\"ellipse95\":" +
         (located ? "{" + ellipse_properties(s) + "}" : std::string("null")) +
         ",\"origin_time\":" + time_or_null(s, 0.0) +
         ",\"origin_time95\":" + interval_or_null(s) + ",\"detections\":[";
  for (std::size_t i = 0; i < event.detections.size(); ++i) {
    const Detection& d = event.detections[i];
    const DetectionFit& f = s.detections[i];
    if (i) out += ',';
    out += "{\"station\":" + json_string(d.station) +
           ",\"back_azimuth\":" + number(d.back_azimuth, 6) +
           ",\"residual_deg\":" + number(f.residual_deg, 3) +
           ",\"residual_s\":" + number(f.residual_s, 2) +
           ",\"used\":" + (f.used ? "true" : "false") + "}";
  }
  out += "]}\n";
}

void Writer::write_geojson(const Event& event, const Solution& s,
                           std::string& out) const {
  const bool located = s.status != Status::no_fix;
  const auto& dets = event.detections;

  // Stations: each site once.
  for (std::size_t i = 0; i < dets.size(); ++i) {
    bool seen = false;
    for (std::size_t j = 0; j < i && !seen; ++j)
      seen = dets[j].station == dets[i].station &&
             dets[j].latitude == dets[i].latitude &&
             dets[j].longitude == dets[i].longitude;
    if (seen) continue;
    add_feature(out, event.name, "station",
                "{\"type\":\"Point\",\"coordinates\":" +
                    point({dets[i].longitude, dets[i].latitude}) + "}",
                "\"station\":" + json_string(dets[i].station));
  }

  // Bearings: geodesics from the station along the bearing, to a little
  // beyond the fix.
  for (std::size_t i = 0; i < dets.size(); ++i) {
    const Detection& d = dets[i];
    const DetectionFit& f = s.detections[i];
    const double length =
        located && std::isfinite(f.distance_km)
            ? std::min(1.1 * f.distance_km + 20.0, 19000.0)
            : no_fix_line_km;
    const int steps = static_cast<int>(std::ceil(length / max_segment_km));
    std::vector<LonLat> line{{d.longitude, d.latitude}};
    for (int k = 1; k <= steps; ++k) {
      LonLat p;
      earth_.direct(d.latitude, d.longitude, length * k / steps,
                    d.back_azimuth, p.lat, p.lon);
      line.push_back(p);
    }
    add_feature(out, event.name, "bearing", geometry(cut_line(line), false),
                "\"station\":" + json_string(d.station) +
                    ",\"back_azimuth\":" + number(d.back_azimuth, 6) +
                    ",\"used\":" + (f.used ? "true" : "false"));
  }

  for (const Crossing& c : s.crossings)
    add_feature(out, event.name, "crossing",
                "{\"type\":\"Point\",\"coordinates\":" +
                    point({c.longitude, c.latitude}) + "}",
                "\"stations\":[" + json_string(dets[c.first].station) + "," +
                    json_string(dets[c.second].station) + "]");

  add_feature(out, event.name, "fix",
              located ? "{\"type\":\"Point\",\"coordinates\":" +
                            point({s.longitude, s.latitude}) + "}"
                      : std::string("null"),
              "\"status\":\"" + std::string(status_name(s.status)) +
                  "\",\"reason\":" + reason_json(s) +
                  ",\"latitude\":" + number(s.latitude, coordinate_decimals) +
                  ",\"longitude\":" +
                  number(s.longitude, coordinate_decimals) + "," +
                  ellipse_properties(s) +
                  ",\"origin_time\":" + time_or_null(s, 0.0) +
                  ",\"origin_time95\":" + interval_or_null(s));
  if (!located) return;

  // The ellipse: vertices at parameter t, offset a cos t along the major
  // axis and b sin t along the direction 90 degrees anticlockwise from it,
  // counter-clockwise in the east/north plane.
  std::vector<LonLat> ring;
  const double az = s.azimuth_deg / rad2deg;
  const double ue = std::sin(az), un = std::cos(az);  // major axis
  const double ve = -un, vn = ue;                     // anticlockwise of it
  for (int k = 0; k < ellipse_vertices; ++k) {
    const double t = 2.0 * 3.141592653589793 * k / ellipse_vertices;
    const double e = s.semi_major_km * std::cos(t) * ue +
                     s.semi_minor_km * std::sin(t) * ve;
    const double n = s.semi_major_km * std::cos(t) * un +
                     s.semi_minor_km * std::sin(t) * vn;
    LonLat p;
    earth_.direct(s.latitude, s.longitude, std::hypot(e, n),
                  std::atan2(e, n) * rad2deg, p.lat, p.lon);
    ring.push_back(p);
  }
  add_feature(out, event.name, "ellipse95", geometry(cut_ring(ring), true),
              ellipse_properties(s));
}

}  // namespace fix
