// Output of the location results: a readable text table, JSON Lines (one
// object per event) or one GeoJSON FeatureCollection (RFC 7946) for the run.
#pragma once

#include <string>
#include <vector>

#include "fix/event.h"
#include "fix/geodesy.h"
#include "fix/locate.h"

namespace fix {

enum class Format { text, json, geojson };

/// A position: longitude and latitude, degrees.
struct LonLat {
  double lon, lat;
};

/// Formats events; one object per thread (it solves geodesics for the
/// GeoJSON lines and ellipses).
class Writer {
 public:
  Writer(Format format, const Earth& earth) : format_(format), earth_(earth) {}

  /// Appends the record of one event to `out`. For GeoJSON that is its
  /// features, each preceded by ",\n".
  void write(const Event& event, const Solution& solution,
             std::string& out) const;

  /// What stands before the first record of a run.
  static std::string prologue(Format format);
  /// What stands after the last record of a run.
  static std::string epilogue(Format format);

 private:
  void write_text(const Event& event, const Solution& s, std::string& out) const;
  void write_json(const Event& event, const Solution& s, std::string& out) const;
  void write_geojson(const Event& event, const Solution& s,
                     std::string& out) const;

  Format format_;
  const Earth& earth_;
};

/// `value` with at most `decimals` decimals, without trailing zeros ("-0"
/// written "0"); "null" for a value that is not finite.
std::string number(double value, int decimals);

/// A polyline (longitudes in [-180, 180]) cut where a segment crosses the
/// antimeridian: the parts, with points added on +-180.
std::vector<std::vector<LonLat>> cut_line(const std::vector<LonLat>& line);

/// A counter-clockwise ring (open: the first point is not repeated;
/// longitudes in [-180, 180]) cut at the antimeridian into rings, closed by
/// repeating the first point. A ring that goes round a pole is closed along
/// the pole first.
std::vector<std::vector<LonLat>> cut_ring(const std::vector<LonLat>& ring);

}  // namespace fix
