// How vestra-assoc writes detections: as detection JSON, one element a
// line, every member as it was read but "Event"; or as a line of the text
// format that vestra-fix reads.
#pragma once

#include <string>
#include <string_view>

#include "fix/event.h"
#include "fix/reader.h"

namespace assoc {

/// `json` on one line: outside strings, a run of white space that holds a
/// line break becomes one space, or nothing after "{" or "[" and before "}"
/// or "]"; every other byte is kept.
std::string one_line(std::string_view json);

/// A detection as a detection JSON element on one line, its "Event" set to
/// `label`: when `raw` holds the element as read, that element with only
/// "Event" changed (and an empty or missing "Name" set to the station);
/// else an element of "Name", "Time (UTC)" (null without a time), "Back
/// Azimuth", "Latitude", "Longitude" and "Event".
std::string json_detection(const fix::Detection& detection,
                           const fix::RawElement* raw,
                           const std::string& label);

/// A line of the text format, without its line end: event ("-" for
/// `label` ""), station, latitude, longitude, back azimuth (degrees),
/// standard deviation ("-": the run's default) and arrival time ("-" for
/// none); white space in the event or the station becomes "_".
std::string text_detection(const fix::Detection& detection,
                           const std::string& label);

/// "YYYY-MM-DDThh:mm:ss[.ffffff]Z": `seconds` since 1970 to the nearest
/// microsecond, the fraction's trailing zeros left out.
std::string exact_time(double seconds);

}  // namespace assoc
