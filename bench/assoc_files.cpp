// Associates the detections of detection JSON files (a JSON array of
// detections per file, as array processing writes them) and prints the
// events: a stand-in for the program until it reads such files itself.
//
//   assoc_files [--threshold=X] [--copies=N] FILE...
//
// Keys read: "Latitude", "Longitude", "Back Azimuth", the time under
// "Time (UTC)" or "Peak F-Stat Time (UTC)", "Name" (when empty, the array
// code of the file's name: what comes before the first "_" or ".dets").

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "assoc/associate.h"
#include "fix/iso_time.h"

namespace {

std::string array_of(const std::string& path) {
  std::string name = path.substr(path.find_last_of('/') + 1);
  name = name.substr(0, name.find('_'));
  return name.substr(0, name.find(".dets"));
}

bool read(const std::string& path, std::vector<fix::Detection>& out) {
  std::ifstream in(path);
  nlohmann::json j;
  try {
    in >> j;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "assoc_files: %s: %s\n", path.c_str(), e.what());
    return false;
  }
  for (const auto& e : j) {
    fix::Detection d;
    d.station = e.value("Name", std::string());
    if (d.station.empty()) d.station = array_of(path);
    d.latitude = e.at("Latitude").get<double>();
    d.longitude = e.at("Longitude").get<double>();
    d.back_azimuth = e.at("Back Azimuth").get<double>();
    for (const char* key : {"Time (UTC)", "Peak F-Stat Time (UTC)"})
      if (e.contains(key) && e[key].is_string())
        if (auto t = fix::parse_iso_time(e[key].get<std::string>())) {
          d.has_time = true;
          d.time = *t;
          break;
        }
    out.push_back(d);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  assoc::Options options;
  std::vector<fix::Detection> detections;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--threshold=", 12) == 0)
      options.threshold = std::atof(argv[i] + 12);
    else if (std::strncmp(argv[i], "--copies=", 9) == 0)
      options.copies = static_cast<unsigned>(std::atoi(argv[i] + 9));
    else if (!read(argv[i], detections))
      return 1;
  }
  const assoc::Result r = assoc::associate(detections, options);
  std::size_t used = 0;
  for (const assoc::Event& e : r.events) {
    const fix::Solution& s = e.solution;
    std::printf("%s  score %.1f  %.3f %.3f  %s  (%.0f x %.0f km)\n",
                fix::format_iso_time(s.origin_time).c_str(), e.score,
                s.latitude, s.longitude, fix::status_name(s.status),
                s.semi_major_km, s.semi_minor_km);
    for (std::size_t k = 0; k < e.detections.size(); ++k) {
      const fix::Detection& d = detections[e.detections[k]];
      std::printf("    %-8s %s  %7.1f  residual %5.1f deg %6.0f s  %5.0f km\n",
                  d.station.c_str(), fix::format_iso_time(d.time).c_str(),
                  d.back_azimuth, s.detections[k].residual_deg,
                  s.detections[k].residual_s, s.detections[k].distance_km);
    }
    used += e.detections.size();
  }
  std::printf("%zu events, %zu of %zu detections associated\n",
              r.events.size(), used, detections.size());
  if (r.copies)
    std::printf("copies: %.1f false events expected at score %.1f\n",
                r.expected_false(options.threshold), options.threshold);
  return 0;
}
