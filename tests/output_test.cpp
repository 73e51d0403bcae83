// Result writers.

#include "output.h"

#include <gtest/gtest.h>

#include <sstream>

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
