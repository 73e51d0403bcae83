// Output of the location results: a readable text table, JSON Lines (one
// object per event), one GeoJSON FeatureCollection (RFC 7946) or one QuakeML
// 1.2 document for the run.
#pragma once

#include <string>
#include <vector>

#include "fix/event.h"
#include "fix/geodesy.h"
#include "fix/locate.h"
#include "fix/quakeml.h"

namespace fix {

enum class Format { text, json, geojson, quakeml };

/// A position: longitude and latitude, degrees.
struct LonLat {
  double lon, lat;
};

/// Formats events; one object per thread (it solves geodesics for the
/// GeoJSON lines and ellipses and the QuakeML arrivals). `settings` are the
/// run's, named in QuakeML.
class Writer {
 public:
  Writer(Format format, const Earth& earth, const Settings& settings = {})
      : format_(format), earth_(earth), quakeml_(earth, settings) {}

  /// Appends the record of one event, the `index`th of the run (from 0), to
  /// `out`. For GeoJSON that is its features, each preceded by ",\n".
  void write(const Event& event, const Solution& solution, std::string& out,
             std::size_t index = 0) const;

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
  QuakemlWriter quakeml_;
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
