// The vestra-map command: reads vestra-fix's GeoJSON and draws one map per
// event.
#pragma once

#include <cstddef>
#include <string>

#include "map/map_event.h"

namespace vestra::map {

/// The output file of the `number`th event (from 1) of `count`, from the
/// -o pattern: "%e" is the event's name made safe for a file name (letters,
/// digits, '.', '-' and '_' kept, others replaced by '_'; the number when
/// the name is empty), "%n" its number, "%%" a percent sign. A pattern
/// without '%' gets "-%e" before its extension when there are several
/// events. Throws MapError for any other '%' sequence.
std::string output_name(const std::string& pattern, const MapEvent& event,
                        std::size_t number, std::size_t count);

/// The whole run; returns the exit status.
int map_main(int argc, char** argv);

}  // namespace vestra::map
