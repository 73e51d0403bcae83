// Result writers.

#include "output.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

struct Pair {
  Station p1 = create_station("Kiruna", epoch, 135, 135, 0.1);
  Station p2 = create_station("Jamton_M1", epoch, 250.5, 250.5, 0.1);
  Station loc = create_station("Default", epoch, 0, 0, 0);
  Pair() {
    loc.set_latitude(66.5);
    loc.set_longitude(21.25);
  }
};

TEST(NormalWriter, ValidWritesTwoArcs) {
  std::ostringstream o;
  std::string sep = "\n";
  output_normal w(o, sep);
  Pair p;
  w.prolog();
  w.valid(p.loc, p.p1, p.p2);
  w.epilog();
  EXPECT_EQ(o.str(),
            "arc=20.4206,67.8561,21.25,66.5\narc=22.5043,65.8629,21.25,66.5\n");
  for (Station* s : {&p.p1, &p.p2, &p.loc}) {
    EXPECT_EQ(s->get_output(), Station::OUTPUT_LONG_LAT);
    EXPECT_EQ(s->separator, ",");
  }
}

TEST(NormalWriter, SeparatorIsReadAtEveryWrite) {
  std::ostringstream o;
  std::string sep = "\n";
  output_normal w(o, sep);
  sep = " ";
  Pair p;
  w.valid(p.loc, p.p1, p.p2);
  EXPECT_EQ(o.str(),
            "arc=20.4206,67.8561,21.25,66.5 arc=22.5043,65.8629,21.25,66.5 ");
}

TEST(NormalWriter, InvalidWritesTwoLinesAndLeavesTheLocation) {
  std::ostringstream o;
  std::string sep = " ";
  output_normal w(o, sep);
  Pair p;
  w.invalid(p.loc, p.p1, p.p2);
  EXPECT_EQ(o.str(),
            "line=20.4206,67.8561,135,120000\nline=22.5043,65.8629,250.5,120000\n");
  EXPECT_EQ(p.loc.get_output(), Station::OUTPUT_LAT_LONG);
  EXPECT_EQ(p.p1.get_output(), Station::OUTPUT_LONG_LAT);
}

TEST(NormalWriter, NoResultsWriteNothing) {
  std::ostringstream o;
  std::string sep = "\n";
  output_normal w(o, sep);
  w.prolog();
  w.epilog();
  EXPECT_EQ(o.str(), "");
}

TEST(Writers, DebugTraceAtConstruction) {
  std::ostringstream o;
  std::string sep = "\n";
  debug = 1;
  testing::internal::CaptureStderr();
  { output_normal w(o, sep); }
  std::string err = testing::internal::GetCapturedStderr();
  debug = 0;
  EXPECT_NE(err.find("src/output.h:"), std::string::npos) << err;
  EXPECT_NE(err.find(":: debug: base\nsrc/output.cpp:"), std::string::npos) << err;
  EXPECT_TRUE(err.ends_with(":: debug: normal\n")) << err;
  testing::internal::CaptureStderr();
  { output_normal w(o, sep); }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace

// ------------------------------------------------------------ other writers

namespace {

std::string run_json(const std::vector<bool>& results) {
  std::string sep = "\n";
  testing::internal::CaptureStdout();
  {
    output_json w(std::cout, sep);
    Pair p;
    w.prolog();
    for (bool ok : results) {
      if (ok)
        w.valid(p.loc, p.p1, p.p2);
      else
        w.invalid(p.loc, p.p1, p.p2);
    }
    w.epilog();
    std::cout.flush();
  }
  return testing::internal::GetCapturedStdout();
}

TEST(JsonWriter, OneValidResult) {
  EXPECT_EQ(run_json({true}),
            "[{\"arc\": { \"start\": {\"longitude\":20.4206,\"latitude\":67.8561}, "
            "\"end\": {\"longitude\":21.25,\"latitude\":66.5}}},\n"
            "{\"arc\": { \"start\": {\"longitude\":22.5043,\"latitude\":65.8629}, "
            "\"end\": {\"longitude\":21.25,\"latitude\":66.5}}}]\n");
  EXPECT_EQ(run_json({}), "[]\n");
}

TEST(JsonWriter, EveryMixIsOneJsonArray) {
  const std::vector<std::vector<bool>> mixes = {
      {}, {true}, {false}, {true, false}, {false, true, true, false, false}};
  for (const auto& mix : mixes) {
    const std::string text = run_json(mix);
    nlohmann::json doc = nlohmann::json::parse(text);  // throws if malformed
    ASSERT_TRUE(doc.is_array());
    ASSERT_EQ(doc.size(), 2 * mix.size());
    for (std::size_t i = 0; i < mix.size(); ++i) {
      const auto& first = doc[2 * i];
      if (mix[i]) {
        EXPECT_EQ(first["arc"]["end"]["latitude"], 66.5);
      } else {
        EXPECT_EQ(first["line"]["dir"], 135);
        EXPECT_EQ(doc[2 * i + 1]["line"]["length"], 65000);
      }
    }
    // n results are separated by n - 1 ",\n" written before all but the first.
    std::size_t seps = 0;
    for (auto pos = text.find("}},\n{"); pos != std::string::npos;
         pos = text.find("}},\n{", pos + 1))
      ++seps;
    EXPECT_EQ(seps, mix.size() + (mix.empty() ? 0 : mix.size() - 1));
  }
}

TEST(JsonWriter, LeavesTheStationsUnchanged) {
  std::ostringstream o;
  std::string sep = "\n";
  output_json w(o, sep);
  Pair p;
  w.valid(p.loc, p.p1, p.p2);
  for (Station* s : {&p.p1, &p.p2, &p.loc})
    EXPECT_EQ(s->get_output(), Station::OUTPUT_LAT_LONG);
}

TEST(GpsWriter, ValidAndInvalidLines) {
  std::ostringstream o;
  std::string sep = " ";
  output_gps w(o, sep);
  Pair p;
  w.valid(p.loc, p.p1, p.p2);
  p.loc.set_latitude(48.83);
  p.loc.set_longitude(-0.55);
  w.valid(p.loc, p.p1, p.p2);
  w.invalid(p.loc, p.p1, p.p2);
  EXPECT_EQ(o.str(),
            "E21 15.000 N66 30.000\nW0 33.000 N48 49.800\nN00 00.000 E00 00.000\n");
  EXPECT_EQ(p.loc.get_output(), Station::OUTPUT_DM_LONG_LAT);
  EXPECT_EQ(p.loc.separator, ",");
}

TEST(CleanWriter, InvalidLineNeverPrintsStations) {
  std::ostringstream o;
  std::string sep = " ";
  output_clean w(o, sep);
  Pair p;
  w.invalid(p.loc, p.p1, p.p2);
  EXPECT_EQ(o.str(), "-1000 -1000 0 0\n");
  EXPECT_EQ(p.loc.get_output(), Station::OUTPUT_LAT_LONG);
}

}  // namespace
