// Readers of detection lists: the detection JSON written by array
// processing packages, and a plain text format, one detection a line.
//
// Text format: whitespace-separated columns
//   event station latitude longitude back_azimuth [sigma [arrival_time]]
// with latitude and longitude in degrees (both "-" for a station of the
// built-in catalogue, named in the station column), the back azimuth and its
// standard deviation in degrees ("-" for the run's default), the arrival
// time in ISO 8601 ("-" for none). Blank lines are skipped and a field
// starting with "#" begins a comment. Consecutive lines with the same event
// column form one event, so the text is read one event at a time.
//
// Detection JSON: an array of objects with the keys "Latitude",
// "Longitude", "Back Azimuth" (degrees) and optionally "Peak F-Stat Time
// (UTC)", "Name" and "Event"; other keys are ignored. Detections are grouped
// by "Event" (missing, null or "" is one event), events in order of first
// appearance.
//
// A bad detection is reported and left out; its event is kept.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "cli/command_line.h"
#include "fix/event.h"

namespace fix {

/// Reports bad input ("vestra-fix: <where>: <message>") and counts it.
using Diagnostics = cli::Diagnostics;

/// The events of one input, in input order.
class EventReader {
 public:
  virtual ~EventReader() = default;
  /// Moves the next event into `event`; false at the end of the input.
  virtual bool next(Event& event) = 0;
};

/// A reader for `in` (named `name` in messages): detection JSON when its
/// first character other than white space is "[" (or "{", refused as not
/// an array), the text format otherwise.
std::unique_ptr<EventReader> open_reader(std::istream& in,
                                         const std::string& name,
                                         Diagnostics& diagnostics);

/// Text quoted for a message: at most 40 bytes, other than printable ASCII
/// shown as "?".
std::string quote(std::string_view text);

}  // namespace fix
