// Helpers shared by the unit tests and the benchmarks.
#pragma once

#include "class_location.h"

/// A source named `name` at (lat, lon) with measured and working bearing
/// `baz` and standard deviation `sbaz`.
inline Station source(const char* name, double lat, double lon, double baz,
                      double sbaz = 0.1) {
  Station s = create_station("Default", epoch, baz, baz, sbaz);
  s.set_name(name);
  s.set_latitude(lat);
  s.set_longitude(lon);
  return s;
}
