// Writes a catalogue of N synthetic events to standard output: five
// stations 50 to 2,000 km around a source anywhere, bearings with 4 degrees
// of noise, arrival times with a celerity from 0.22 to 0.34 km/s and 10 s of
// noise. Seeded: the same N gives the same bytes. In vestra-fix's text
// format, or with --json as detection JSON laid out as array processing
// writes it (one key a line, today's keys, every detection with its
// "Event").
//
// With --read, times vestra-fix's reader instead: every detection of the
// files named, read as vestra-assoc reads them (all detections, not
// grouped), and prints the bytes per second.
//
//   fix_catalogue [--json] N
//   fix_catalogue --read FILE...

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "fix/inputs.h"
#include "fix/iso_time.h"
#include "fix_synthetic.h"

namespace {

void write_text(const fix::Event& ev) {
  for (const fix::Detection& d : ev.detections)
    std::printf("%s %s %.6f %.6f %.3f - %s\n", ev.name.c_str(),
                d.station.c_str(), d.latitude, d.longitude, d.back_azimuth,
                fix::format_iso_time(d.time).c_str());
}

void write_json(const fix::Event& ev, bool& first) {
  for (const fix::Detection& d : ev.detections) {
    std::printf(
        "%s    {\n"
        "        \"Name\": \"%s\",\n"
        "        \"Time (UTC)\": \"%s\",\n"
        "        \"F Stat.\": 10.0,\n"
        "        \"Trace Vel. (m/s)\": 340.0,\n"
        "        \"Back Azimuth\": %.3f,\n"
        "        \"Latitude\": %.6f,\n"
        "        \"Longitude\": %.6f,\n"
        "        \"Elevation (m)\": null,\n"
        "        \"Start\": null,\n"
        "        \"End\": null,\n"
        "        \"Freq Range\": null,\n"
        "        \"Array Dim.\": 5,\n"
        "        \"Method\": \"\",\n"
        "        \"Event\": \"%s\",\n"
        "        \"Note\": \"\"\n"
        "    }",
        first ? "" : ",\n", d.station.c_str(),
        fix::format_iso_time(d.time).c_str(), d.back_azimuth, d.latitude,
        d.longitude, ev.name.c_str());
    first = false;
  }
}

int generate(long n, bool json) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(20261126);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  bool first = true;
  if (json) std::printf("[\n");
  for (long e = 0; e < n; ++e) {
    std::vector<synthetic::Site> sites;
    for (int i = 0; i < 5; ++i)
      sites.push_back({72.0 * i + 40.0 * (u(rng) - 0.5), 50.0 + 1950.0 * u(rng)});
    const fix::Event ev = synthetic::make_event(
        g, -70.0 + 140.0 * u(rng), -180.0 + 360.0 * u(rng), 1.2e9 + 60.0 * e,
        sites, {4.0, true, 10.0, 0.22, 0.34}, rng, "ev" + std::to_string(e));
    if (json)
      write_json(ev, first);
    else
      write_text(ev);
  }
  if (json) std::printf("\n]\n");
  return 0;
}

int read(const std::vector<std::string>& files) {
  std::uintmax_t bytes = 0;
  for (const std::string& f : files) bytes += std::filesystem::file_size(f);
  std::ostringstream messages;
  fix::Diagnostics diagnostics("vestra-fix", messages);
  std::istringstream none;
  const auto start = std::chrono::steady_clock::now();
  fix::DetectionReader reader(files, none, diagnostics);
  fix::DetectionRecord record;
  std::size_t detections = 0;
  while (reader.next(record)) detections += record.usable;
  const double s = std::chrono::duration<double>(
                       std::chrono::steady_clock::now() - start)
                       .count();
  std::printf("%zu detections, %.1f MB in %.3f s: %.0f MB/s\n", detections,
              static_cast<double>(bytes) / 1e6, s,
              static_cast<double>(bytes) / 1e6 / s);
  return diagnostics.errors() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::strcmp(argv[1], "--read") == 0)
    return read(std::vector<std::string>(argv + 2, argv + argc));
  const bool json = argc > 2 && std::strcmp(argv[1], "--json") == 0;
  const long n = argc > 1 + json ? std::atol(argv[1 + json]) : 0;
  if (n <= 0) {
    std::fprintf(stderr,
                 "usage: fix_catalogue [--json] N\n"
                 "       fix_catalogue --read FILE...\n");
    return 1;
  }
  return generate(n, json);
}
