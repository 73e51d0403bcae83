// Writes a catalogue of N synthetic events in vestra-fix's text format to
// standard output: five stations 50 to 2,000 km around a source anywhere,
// bearings with 4 degrees of noise, arrival times with a celerity from 0.22
// to 0.34 km/s and 10 s of noise. Seeded: the same N gives the same text.
//
//   fix_catalogue N

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "fix/iso_time.h"
#include "fix_synthetic.h"

int main(int argc, char** argv) {
  const long n = argc > 1 ? std::atol(argv[1]) : 0;
  if (n <= 0) {
    std::fprintf(stderr, "usage: fix_catalogue N\n");
    return 1;
  }
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(20261126);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (long e = 0; e < n; ++e) {
    std::vector<synthetic::Site> sites;
    for (int i = 0; i < 5; ++i)
      sites.push_back({72.0 * i + 40.0 * (u(rng) - 0.5), 50.0 + 1950.0 * u(rng)});
    const fix::Event ev = synthetic::make_event(
        g, -70.0 + 140.0 * u(rng), -180.0 + 360.0 * u(rng), 1.2e9 + 60.0 * e,
        sites, {4.0, true, 10.0, 0.22, 0.34}, rng, "ev" + std::to_string(e));
    for (const fix::Detection& d : ev.detections)
      std::printf("%s %s %.6f %.6f %.3f - %s\n", ev.name.c_str(),
                  d.station.c_str(), d.latitude, d.longitude, d.back_azimuth,
                  fix::format_iso_time(d.time).c_str());
  }
  return 0;
}
