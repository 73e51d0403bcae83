// vestra-fix's catalogues giving the same bytes on one thread, several
// threads, and split by GNU parallel. The readers have fix_reader_test.cpp,
// the GeoJSON fix_geojson_test.cpp.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fix/iso_time.h"
#include "fix/program.h"
#include "fix_synthetic.h"
#include "in_process.h"
#include "run_program.h"

namespace {

using nlohmann::json;

Outcome run(const std::vector<std::string>& args, const std::string& input) {
  return run_main(fix::fix_main, args, input);
}

std::vector<json> json_lines(const std::string& text) {
  std::vector<json> v;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) v.push_back(json::parse(line));
  return v;
}

// A catalogue in the text format: `events` synthetic events with 3 to 6
// stations, some with times, and a bad line every 50 events.
std::string catalogue(int events) {
  const auto& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(99);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::string text;
  char line[200];
  for (int e = 0; e < events; ++e) {
    std::vector<synthetic::Site> sites;
    const int n = 3 + e % 4;
    for (int i = 0; i < n; ++i)
      sites.push_back({360.0 * u(rng), 100.0 + 1500.0 * u(rng)});
    const bool times = e % 3 != 0;
    const fix::Event ev = synthetic::make_event(
        g, -80.0 + 160.0 * u(rng), -180.0 + 360.0 * u(rng), 1.2e9 + e * 600.0,
        sites, {4.0, times, 10.0, 0.22, 0.34}, rng, "ev" + std::to_string(e));
    for (const fix::Detection& d : ev.detections) {
      std::snprintf(line, sizeof line, "%s %s %.6f %.6f %.4f - %s\n",
                    ev.name.c_str(), d.station.c_str(), d.latitude,
                    d.longitude, d.back_azimuth,
                    d.has_time ? fix::format_iso_time(d.time).c_str() : "-");
      text += line;
    }
    if (e % 50 == 7) text += ev.name + " bad 91 0 0\n";
  }
  return text;
}

TEST(FixCatalogue, SameBytesOnAnyNumberOfThreads) {
  const std::string input = catalogue(400);
  for (const char* format : {"--format=text", "--format=json",
                             "--format=geojson"}) {
    const Outcome one = run({format, "--jobs=1"}, input);
    const Outcome three = run({format, "--jobs", "3"}, input);
    EXPECT_EQ(one.status, 1) << format;
    EXPECT_EQ(three.status, 1) << format;
    EXPECT_EQ(one.err, three.err) << format;
    EXPECT_TRUE(one.out == three.out) << format;
  }
}

// GNU parallel splits the text catalogue on event boundaries (lines grouped
// by their first column) and runs vestra-fix on every piece; with
// --keep-order the pieces' output is the single run's, byte for byte.
TEST(FixCatalogue, GnuParallelSplitGivesTheSameBytes) {
  // GNU parallel is one of the packages ./bootstrap installs: missing, the
  // test fails rather than hiding the missing install step.
  ASSERT_TRUE(std::filesystem::exists("/usr/bin/parallel"));
  const TempDir dir;
  const std::string file = dir.file("catalogue.txt", catalogue(300));
  ProgramRun single;
  single.args = {"--format=json", "--jobs=2", file};
  single.argv0 = "vestra-fix";
  const ProgramResult whole = run_program(VESTRA_FIX_BINARY, single);
  ProgramRun split;
  split.args = {"-c", std::string("parallel --pipe --keep-order "
                                      "--colsep '[ \\t]+' --group-by 1 "
                                      "--block 4k ") +
                              VESTRA_FIX_BINARY +
                              " --format=json --jobs=1 <" + file};
  split.argv0 = "bash";
  const ProgramResult pieces = run_program("/bin/bash", split);
  EXPECT_EQ(whole.status, 1);
  EXPECT_NE(pieces.status, 0);  // parallel: the number of failed pieces
  EXPECT_EQ(json_lines(whole.out).size(), 300u);
  EXPECT_TRUE(pieces.out == whole.out);
}

}  // namespace
