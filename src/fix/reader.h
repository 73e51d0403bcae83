// Readers of detection lists: the detection JSON written by array
// processing packages, and a plain text format, one detection a line.
//
// Text format: whitespace-separated columns
//   event station latitude longitude back_azimuth [sigma [arrival_time]]
// with latitude and longitude in degrees (both "-" for a station of the
// built-in catalogue, named in the station column), the back azimuth and its
// standard deviation in degrees ("-" for the run's default), the arrival
// time in ISO 8601 ("-" for none). An event "-" is not associated with any
// event. Blank lines are skipped and a field starting with "#" begins a
// comment. The text is read one line at a time.
//
// Detection JSON: an array of objects with the keys "Latitude",
// "Longitude", "Back Azimuth" (degrees) and optionally the arrival time
// "Time (UTC)" (or the older "Peak F-Stat Time (UTC)"), "Name", "Event"
// (missing, null or "": not associated), "F Stat." (or "F Statistic"),
// "Trace Vel. (m/s)" (or "Trace Velocity (m/s)") and "Elevation (m)" (or
// "Elevation"); other keys are ignored. Each element is parsed on its own,
// so that an element that is not valid JSON costs that detection only.
//
// A station without a "Name" is named after the file when the file's name
// ends in ".dets.json" (see file_station_code), else after its position.
//
// Either format may start with a UTF-8 byte-order mark. A bad detection is
// reported and left out; a read error is reported and ends its input.
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

/// What a reader keeps beyond the detection itself.
struct ReadOptions {
  /// Keep the text of every detection JSON element (DetectionRecord::raw),
  /// so that it can be written back with only its "Event" changed.
  bool keep_raw = false;
};

/// A detection JSON element as it stands in its input, with where its
/// "Event" and "Name" values stand in it.
struct RawElement {
  static constexpr std::size_t npos = std::string::npos;
  std::string text;  ///< the element, from "{" to "}", bytes as read
  /// The "Event" value: bytes [event_begin, event_end) of `text` (npos when
  /// the key is absent).
  std::size_t event_begin = npos, event_end = npos;
  /// The "Name" value, likewise.
  std::size_t name_begin = npos, name_end = npos;
  bool name_empty = true;  ///< "Name" missing, null or ""

  /// `text` with the "Event" value replaced by `event_json` (a JSON value
  /// as text, e.g. "\"E1\""), or "Event" added as the last member; when
  /// `name_json` is not empty and the element has no name, "Name" is set to
  /// it the same way. Every other byte is kept.
  std::string with_event(std::string_view event_json,
                         std::string_view name_json = {}) const;
};

/// One detection as read, with where it came from.
struct DetectionRecord {
  Detection detection;      ///< the detection, when `usable`
  bool usable = false;      ///< false: refused as bad input (reported)
  bool event_known = true;  ///< false: refused before its event was read
  std::string event;        ///< its event; "": not associated with one
  std::size_t input = 0;    ///< index of its input among the run's inputs
  bool json = false;        ///< read from detection JSON, else from text
  /// JSON: the element's index in the array, from 0; text: its line, from 1.
  std::size_t position = 0;
  RawElement raw;  ///< JSON read with ReadOptions::keep_raw: the element
};

/// The detections of one input, in input order.
class InputReader {
 public:
  virtual ~InputReader() = default;
  /// The next detection (usable or refused) into `record`; false at the end
  /// of the input or after a read error (reported).
  virtual bool next(DetectionRecord& record) = 0;
};

/// A reader for `in`, named `name` in messages and the `index`th input of
/// the run: detection JSON when its first character other than a
/// byte-order mark or white space is "[" (or "{", refused as not an
/// array), the text format otherwise.
std::unique_ptr<InputReader> open_input(std::istream& in,
                                        const std::string& name,
                                        std::size_t index,
                                        Diagnostics& diagnostics,
                                        const ReadOptions& options = {});

/// The events of a run, in input order.
class EventReader {
 public:
  virtual ~EventReader() = default;
  /// Moves the next event into `event`; false at the end of the input.
  virtual bool next(Event& event) = 0;
};

/// The array code in the name of a detection file, "" when there is none:
/// for a base name ending in ".dets.json", what precedes the first "_"
/// (network and station, "SY.PDIAR_2010.01.01T12.00.00-14.00.00.dets.json"
/// gives "SY.PDIAR") or else the ".dets.json" ("DLIAR.dets.json" gives
/// "DLIAR").
std::string file_station_code(std::string_view path);

}  // namespace fix
