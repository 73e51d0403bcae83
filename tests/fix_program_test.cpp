// vestra-fix as a whole program, run in-process: what its options change in
// the result, the verdicts, how text events are grouped, and a failing
// output.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <nlohmann/json.hpp>

#include <cmath>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "fix/iso_time.h"
#include "fix/program.h"
#include "fix_synthetic.h"
#include "in_process.h"

namespace {

using nlohmann::json;

Outcome run(const std::vector<std::string>& args, const std::string& input) {
  return run_main(fix::fix_main, args, input);
}

// The text format of an event.
std::string text_of(const fix::Event& e) {
  std::string s;
  for (const fix::Detection& d : e.detections) {
    char line[200];
    std::snprintf(line, sizeof line, "%s %s %.9f %.9f %.9f - %s\n",
                  e.name.c_str(), d.station.c_str(), d.latitude, d.longitude,
                  d.back_azimuth,
                  d.has_time ? fix::format_iso_time(d.time).c_str() : "-");
    s += line;
  }
  return s;
}

double seconds(const json& iso) {
  return *fix::parse_iso_time(iso.get<std::string>());
}

// Exact bearings and arrival times of sound travelling at 0.3 km/s from a
// source at 50 N, 10 E: the celerity options decide the origin time, the
// pick error its interval.
TEST(FixOptions, CelerityAndPickErrorShapeTheOriginTime) {
  const double t0 = 1.6e9;
  std::mt19937_64 rng(1);
  synthetic::Noise exact{0.0, true, 0.0, 0.3, 0.3};
  const std::string input = text_of(synthetic::make_event(
      GeographicLib::Geodesic::WGS84(), 50.0, 10.0, t0,
      {{0, 300}, {100, 700}, {200, 500}, {290, 900}}, exact, rng, "E1"));
  struct Case {
    std::vector<std::string> args;
    double origin_error_s;  // |origin - t0| at most (or, negative, at least)
    double half_width_lo, half_width_hi;  // of the 95% interval, s
  };
  const Case cases[] = {
      // With the celerity known, the pick error alone: about 1.96 sigma
      // over the square root of the four stations.
      {{"--celerity=0.3"}, 0.1, 5, 15},
      {{"--celerity=0.3", "--pick-error=1"}, 0.1, 0.5, 1.5},
      {{"--celerity", "+0.3:0.3", "--pick-error=100"}, 0.1, 50, 150},
      {{}, -100, 100, 1000},              // mean slowness of 0.22 to 0.34
      {{"--celerity=0.25:0.35"}, -20, 50, 500},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = c.args;
    args.push_back("--format=json");
    const Outcome o = run(args, input);
    ASSERT_EQ(o.status, 0) << o.err;
    const json r = json::parse(o.out);
    const std::string label = c.args.empty() ? "defaults" : c.args[0];
    EXPECT_EQ(r["status"], "ok") << label;
    const double error = std::fabs(seconds(r["origin_time"]) - t0);
    if (c.origin_error_s > 0) {
      EXPECT_LE(error, c.origin_error_s) << label;
    } else {
      EXPECT_GE(error, -c.origin_error_s) << label;
    }
    const double half =
        0.5 * (seconds(r["origin_time95"][1]) - seconds(r["origin_time95"][0]));
    EXPECT_GE(half, c.half_width_lo) << label;
    EXPECT_LE(half, c.half_width_hi) << label;
  }
}

// Two bearings 2 degrees apart from stations 111 km apart cross far away:
// the numbers are written, and the verdict says not to trust them.
TEST(FixVerdicts, NearlyParallelBearingsAreIllConditioned) {
  const Outcome o =
      run({"--format=json"}, "E1 A 40 0 90\nE1 B 41 0 92\n");
  ASSERT_EQ(o.status, 0) << o.err;
  const json r = json::parse(o.out);
  EXPECT_EQ(r["status"], "ill-conditioned");
  EXPECT_NE(r["reason"].get<std::string>().find("not to be trusted"),
            std::string::npos);
  EXPECT_GT(r["ellipse95"]["semi_major_km"].get<double>(), 1000);
  EXPECT_TRUE(r["latitude"].is_number());
}

// Consecutive lines with one event name form one event; the same name
// further on is another event, located on its own.
TEST(FixText, InterleavedEventsStaySeparate) {
  const Outcome o = run({"--format=json", "-j", "2"},
                        "E1 Kiruna - - 111\nE1 Lycksele - - 66\n"
                        "E2 Kiruna - - 200\n"
                        "E1 Kiruna - - 120\nE1 Lycksele - - 70\n");
  ASSERT_EQ(o.status, 0) << o.err;
  std::istringstream lines(o.out);
  std::vector<json> results;
  for (std::string line; std::getline(lines, line);)
    results.push_back(json::parse(line));
  ASSERT_EQ(results.size(), 3u);
  EXPECT_EQ(results[0]["event"], "E1");
  EXPECT_EQ(results[1]["event"], "E2");
  EXPECT_EQ(results[2]["event"], "E1");
  EXPECT_EQ(results[0]["detections"].size(), 2u);
  EXPECT_EQ(results[1]["status"], "no-fix");
  EXPECT_NE(results[0]["latitude"], results[2]["latitude"]);
}

// A stream that takes `room` bytes, then refuses every byte, as standard
// output on a disk that fills up.
struct FillingDisk : std::streambuf {
  explicit FillingDisk(std::size_t room) : room(room) {}
  int overflow(int c) override {
    if (room == 0) return traits_type::eof();
    --room;
    ++taken;
    return c;
  }
  std::size_t room, taken = 0;
};

// The first failed write ends the run, with a message and status 1, on one
// thread and on several.
TEST(FixOutput, AFullDiskEndsTheRun) {
  std::string input;
  for (int e = 0; e < 20000; ++e)
    input += "E" + std::to_string(e) + " Kiruna - - 111\nE" +
             std::to_string(e) + " Lycksele - - 66\n";
  for (const char* jobs : {"1", "3"}) {
    FillingDisk disk(5000);
    std::ostream out(&disk);
    std::istringstream in(input);
    std::ostringstream err;
    EXPECT_EQ(fix::fix_main({"-j", jobs}, in, out, err), 1) << jobs;
    EXPECT_EQ(err.str().rfind("vestra-fix: cannot write the output", 0), 0u)
        << err.str();
    EXPECT_EQ(disk.taken, 5000u);
    // Reading stopped well before the end of the catalogue.
    in.clear();
    EXPECT_LT(in.tellg(), static_cast<std::streamoff>(input.size() / 2)) << jobs;
  }
}

}  // namespace
