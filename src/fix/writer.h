// Output of the location results: a readable text table, JSON Lines (one
// object per event), one GeoJSON FeatureCollection (RFC 7946) or one QuakeML
// 1.2 document for the run. The JSON and GeoJSON member names and feature
// kinds are those of geo/vocabulary.def.
#pragma once

#include <string>
#include <string_view>

#include "fix/event.h"
#include "fix/locate.h"
#include "fix/quakeml.h"
#include "geo/earth.h"

namespace fix {

enum class Format { text, json, geojson, quakeml };

/// Formats events; one object per thread (it solves geodesics for the
/// GeoJSON lines and ellipses and the QuakeML arrivals). `settings` are the
/// run's, named in QuakeML.
///
/// A run's output is prologue(), the records of the events joined by
/// separator(), then epilogue(). A text record is the event's block of
/// lines, a JSON record one line, a QuakeML record one <event> element; a
/// GeoJSON record is the event's features, each on a line of its own (the
/// line break before it), joined by commas.
class Writer {
 public:
  Writer(Format format, const geo::Earth& earth, const Settings& settings = {})
      : format_(format), earth_(earth), quakeml_(earth, settings) {}

  /// Appends the record of one event, the `index`th of the run (from 0), to
  /// `out`, without a separator.
  void write(const Event& event, const Solution& solution, std::string& out,
             std::size_t index = 0) const;

  /// What stands before the first record of a run.
  static std::string prologue(Format format);
  /// What stands between two records.
  static std::string_view separator(Format format);
  /// What stands after the last record of a run.
  static std::string epilogue(Format format);

 private:
  void write_text(const Event& event, const Solution& s, std::string& out) const;
  void write_json(const Event& event, const Solution& s, std::string& out) const;
  void write_geojson(const Event& event, const Solution& s,
                     std::string& out) const;

  Format format_;
  const geo::Earth& earth_;
  QuakemlWriter quakeml_;
};

/// `value` with at most `decimals` decimals, without trailing zeros ("-0"
/// written "0"); "null" for a value that is not finite.
std::string number(double value, int decimals);

}  // namespace fix
