// Reads the FeatureCollection that `vestra-fix --format=geojson` writes into
// one MapEvent per event, in input order.
#pragma once

#include <string>
#include <vector>

#include "map/map_event.h"

namespace vestra::map {

/// Parses `text` (the whole document). Throws MapError, with a message that
/// names the feature at fault, for anything that is not such a collection:
/// invalid JSON, a feature without "event" or "kind", a geometry of the
/// wrong type or with coordinates out of range, no events at all. Unknown
/// kinds and properties are ignored.
std::vector<MapEvent> read_geojson(const std::string& text);

}  // namespace vestra::map
