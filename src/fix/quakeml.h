// QuakeML 1.2 output of the location results, the form in which event
// catalogues travel between event services, catalogue systems and the
// seismological Python tools: one document per run, an <eventParameters>
// holding one <event> per event in input order.
//
// Units as QuakeML has them: angles and epicentral distances in degrees,
// horizontal uncertainties and depth in metres, times in UTC (xs:dateTime)
// and time uncertainties in seconds.
//
// Every publicID is "smi:local/vestra/event/N[/NAME]..." with N the event's
// position in the run (from 1) and NAME its name reduced to the characters a
// resource identifier may hold, so that identifiers are unique in a document
// and the same for the same input, whatever the number of threads.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "fix/event.h"
#include "fix/locate.h"
#include "geo/earth.h"

namespace fix {

/// Writes events as QuakeML <event> elements; one object per thread (it
/// solves the geodesics from each fix to its stations).
class QuakemlWriter {
 public:
  /// `earth` is the earth model the events were located on, the ellipsoid
  /// `settings.ellipsoid`; `settings` gives also the bearing standard
  /// deviation of detections without one and the pick error.
  QuakemlWriter(const geo::Earth& earth, const Settings& settings);

  /// Appends the <event> element of `event`, the `index`th event of the run
  /// (from 0), located as `solution`, to `out`.
  void write(const Event& event, const Solution& solution, std::size_t index,
             std::string& out) const;

  /// The XML declaration and the opening of <q:quakeml> and
  /// <eventParameters>.
  static std::string prologue();
  /// The closing of <eventParameters> and <q:quakeml>.
  static std::string epilogue();

 private:
  /// The <origin> of a located event, with an <arrival> per detection;
  /// `id` is the event's publicID, `time` its time as written (not empty) and
  /// `fitted_time` whether that is a fitted origin time.
  void write_origin(const Event& event, const Solution& solution,
                    const std::string& id, const std::string& time,
                    bool fitted_time, std::string& out) const;
  /// The comments that stand for the origin and the picks of an event
  /// without any arrival time: the fix, its ellipse and every detection.
  void write_untimed(const Event& event, const Solution& solution,
                     bool located, std::string& out) const;
  /// The <pick> `id` of detection `d`; `event_time` stands in for a
  /// detection without an arrival time.
  void write_pick(const Detection& d, const std::string& id,
                  const std::string& event_time, std::string& out) const;

  const geo::Earth& earth_;
  Settings settings_;
  std::string earth_model_id_;
};

/// A whole QuakeML document for `events` located as `solutions` (one per
/// event, in the same order) with `settings`. Throws std::invalid_argument
/// when the two lists differ in length.
std::string to_quakeml(const std::vector<Event>& events,
                       const std::vector<Solution>& solutions,
                       const Settings& settings);

/// `text` as XML 1.0 character data, or as an attribute value between
/// double quotes when `attribute`: markup characters escaped, bytes that are
/// not UTF-8 and characters that XML 1.0 cannot carry (controls other than
/// tab, line feed and carriage return; U+FFFE, U+FFFF) replaced by U+FFFD;
/// white space that a parser would normalise written as a character
/// reference.
std::string xml_escape(std::string_view text, bool attribute);

}  // namespace fix
