// Result writers: their text, and the output form each leaves on the stations.

#include "output.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

// Kiruna and Jamton M1 with their bearings, and a location between them.
class Writers : public testing::Test {
 protected:
  Station p1 = create_station("Kiruna", epoch, 135, 135, 0.1);
  Station p2 = create_station("Jamton_M1", epoch, 250.5, 250.5, 0.1);
  Station loc = create_station("Default", epoch, 0, 0, 0);
  std::ostringstream o;
  std::string sep = "\n";
  void SetUp() override {
    loc.set_latitude(66.5);
    loc.set_longitude(21.25);
  }
  void expect_form(Station::output_types form, const char* separator) {
    for (Station* s : {&p1, &p2, &loc}) {
      EXPECT_EQ(s->get_output(), form);
      EXPECT_EQ(s->separator, separator);
    }
  }
};

TEST_F(Writers, NormalValidAndNoResults) {
  output_normal w(o, sep);
  w.prolog();
  w.epilog();
  EXPECT_EQ(o.str(), "");
  w.valid(loc, p1, p2);
  EXPECT_EQ(o.str(),
            "arc=20.4206,67.8561,21.25,66.5\narc=22.5043,65.8629,21.25,66.5\n");
  expect_form(Station::OUTPUT_LONG_LAT, ",");
  // The separator is read at every write.
  sep = " ";
  o.str("");
  w.valid(loc, p1, p2);
  EXPECT_EQ(o.str(), "arc=20.4206,67.8561,21.25,66.5 arc=22.5043,65.8629,21.25,66.5 ");
}

TEST_F(Writers, NormalInvalidWritesTwoLinesAndLeavesTheLocation) {
  sep = " ";
  output_normal w(o, sep);
  w.invalid(loc, p1, p2);
  EXPECT_EQ(o.str(),
            "line=20.4206,67.8561,135,120000\nline=22.5043,65.8629,250.5,120000\n");
  EXPECT_EQ(loc.get_output(), Station::OUTPUT_LAT_LONG);
  EXPECT_EQ(p1.get_output(), Station::OUTPUT_LONG_LAT);
}

TEST_F(Writers, JsonEveryMixIsOneArrayAndStationsAreLeftAlone) {
  const std::vector<std::vector<bool>> mixes = {
      {}, {true}, {false}, {true, false}, {false, true, true, false, false}};
  for (const auto& mix : mixes) {
    testing::internal::CaptureStdout();
    {
      output_json w(std::cout, sep);
      w.prolog();
      for (bool ok : mix) ok ? w.valid(loc, p1, p2) : w.invalid(loc, p1, p2);
      w.epilog();
      std::cout.flush();
    }
    const std::string text = testing::internal::GetCapturedStdout();
    if (mix.empty()) {
      EXPECT_EQ(text, "[]\n");
    }
    nlohmann::json doc = nlohmann::json::parse(text);  // throws if malformed
    ASSERT_TRUE(doc.is_array());
    ASSERT_EQ(doc.size(), 2 * mix.size());
    for (std::size_t i = 0; i < mix.size(); ++i) {
      if (mix[i]) {
        EXPECT_EQ(doc[2 * i]["arc"]["end"]["latitude"], 66.5);
      } else {
        EXPECT_EQ(doc[2 * i]["line"]["dir"], 135);
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
  expect_form(Station::OUTPUT_LAT_LONG, "\n");
}

TEST_F(Writers, GpsValidAndInvalidLines) {
  sep = " ";
  output_gps w(o, sep);
  w.valid(loc, p1, p2);
  loc.set_latitude(48.83);
  loc.set_longitude(-0.55);
  w.valid(loc, p1, p2);
  w.invalid(loc, p1, p2);
  EXPECT_EQ(o.str(),
            "E21 15.000 N66 30.000\nW0 33.000 N48 49.800\nN00 00.000 E00 00.000\n");
  EXPECT_EQ(loc.get_output(), Station::OUTPUT_DM_LONG_LAT);
  EXPECT_EQ(loc.separator, ",");
}

TEST_F(Writers, CleanInvalidLineNeverPrintsStations) {
  sep = " ";
  output_clean w(o, sep);
  w.invalid(loc, p1, p2);
  EXPECT_EQ(o.str(), "-1000 -1000 0 0\n");
  EXPECT_EQ(loc.get_output(), Station::OUTPUT_LAT_LONG);
}

}  // namespace
