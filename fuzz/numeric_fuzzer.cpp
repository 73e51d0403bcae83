// Fuzzes the numeric core on arbitrary doubles (NaN, infinities and huge
// values included): every routine must return, without undefined behaviour.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "GFC.h"
#include "class_location.h"
#include "class_vestra.h"
#include "distance.h"
#include "norsar/baz_cross.h"

namespace {

Station source(double lat, double lon, double baz, double sbaz) {
  Station s = create_station("Default", epoch, baz, baz, sbaz);
  s.set_latitude(lat);
  s.set_longitude(lon);
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  double v[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  std::memcpy(v, data, size < sizeof v ? size : sizeof v);

  CEarth e(CEarth::WGS_84);
  CPolarCoordinate a, b, c;
  a.Set(v[0], v[1], v[2]);
  b.Set(v[3], v[4], v[5]);
  double h12 = 0, h21 = 0;
  volatile double sink = e.GetSurfaceDistance(a, b, &h12, &h21);
  e.AddSurfaceDistanceAndDirectionToCoordinate(a, v[6], v[7], c);
  e.AddLineOfSightDistanceAndDirectionToCoordinate(a, v[6], v[7], c, v[5]);
  CEarthCoordinate x, y;
  x.Set(v[0], v[1], v[2]);
  e.Convert(x, c);
  e.Convert(a, y);
  sink = e.GetLineOfSightDistanceFromCourse(x, y, x);

  Station s1 = source(v[0], v[1], v[6], v[2]);
  Station s2 = source(v[3], v[4], v[7], v[5]);
  Station loc = create_station("Default", epoch, 0, 0, 0);
  sink = calculate_location_original(s1, s2, loc);
  sink = calculate_location_norsar(s1, s2, loc);
  (void)sink;
  return 0;
}
