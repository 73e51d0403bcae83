// Front end: program name, method choice and number reading.

#include "vestra.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace {

std::string name_of(const char* arg0) {
  char* argv[] = {const_cast<char*>(arg0), nullptr};
  return program_name(gsl::span<char*>(argv, 1));
}

TEST(ProgramName, LowerCasedWithoutDirectoryAndExtension) {
  EXPECT_EQ(name_of("/usr/local/bin/Vestra.exe"), "vestra");
  EXPECT_EQ(name_of("C:\\Tools\\VESTRA.EXE"), "vestra");
  EXPECT_EQ(name_of("./a.b.c"), "a.b");
  EXPECT_EQ(name_of("dir.d/prog"), "prog");
  EXPECT_EQ(name_of(""), "");
}

TEST(ProgramNameDeathTest, EmptyArgumentVectorIsRefused) {
  EXPECT_EXIT(program_name(gsl::span<char*>()), testing::ExitedWithCode(1),
              "^Error: no program name in the argument vector\n$");
}

TEST(MethodChoice, Rot13AndStoredNames) {
  std::string s = "Hello, World-az";
  rot13(s);
  EXPECT_EQ(s, "Uryyb, Jbeyq-nm");
  EXPECT_TRUE(norsar("vestra-norsar"));
  EXPECT_TRUE(norsar("vestra-back-azimuths"));
  EXPECT_TRUE(norsar("vnorsar"));
  EXPECT_TRUE(norsar("vestra-baz-loc"));
  EXPECT_FALSE(norsar("vestra"));
  EXPECT_FALSE(norsar(""));
  EXPECT_FALSE(norsar("irfgen-abefne"));  // the stored form itself
}

TEST(Numbers, StrtodPrefix) {
  std::size_t used = 0;
  EXPECT_EQ(read_double("120:3", "x", &used), 120.0);
  EXPECT_EQ(used, 3u);
  EXPECT_EQ(read_double("  7.5abc", "x", &used), 7.5);
  EXPECT_EQ(used, 5u);
  EXPECT_EQ(read_double("0x10", "x"), 16.0);
  EXPECT_EQ(read_double("1e-999", "x"), 0.0);
  bool overflow = true;
  EXPECT_EQ(read_long(" -12xyz", "x", &overflow), -12);
  EXPECT_FALSE(overflow);
  read_long("99999999999999999999999", "x", &overflow);
  EXPECT_TRUE(overflow);
}

TEST(NumbersDeathTest, Refusals) {
  EXPECT_EXIT(read_double("abc", "--angle"), testing::ExitedWithCode(1),
              "^Error: --angle: \"abc\" is not a number\n$");
  EXPECT_EXIT(read_double("", "--sbaz"), testing::ExitedWithCode(1),
              "^Error: --sbaz: \"\" is not a number\n$");
  EXPECT_EXIT(read_double("1e999", "azimuth for Kiruna"),
              testing::ExitedWithCode(1),
              "^Error: azimuth for Kiruna: \"1e999\" is out of range\n$");
  EXPECT_EXIT(read_double("nan", "--angle"), testing::ExitedWithCode(1),
              "is not a finite number");
  EXPECT_EXIT(read_double("-inf", "--angle"), testing::ExitedWithCode(1),
              "is not a finite number");
  bool overflow = false;
  EXPECT_EXIT(read_long("x1", "--ellipsoid", &overflow),
              testing::ExitedWithCode(1), "is not a number");
  EXPECT_EXIT(read_double(std::string(100, '#'), "--angle"),
              testing::ExitedWithCode(1), "\"\\.\\.\\. \\(100 bytes\\) is");
}

TEST(Xxx, ValidateBoundsInclusiveAndNaNRefused) {
  EXPECT_TRUE(validate(-90.0, -90.0, 90.0));
  EXPECT_TRUE(validate(90.0, -90.0, 90.0));
  EXPECT_FALSE(validate(90.5, -90.0, 90.0));
  EXPECT_FALSE(validate(std::nan(""), -90.0, 90.0));
}

TEST(Fuzz, OffsetTable) {
  EXPECT_EQ(fuzz_offset(0), 0.0);
  EXPECT_EQ(fuzz_offset(5), 0.3);
  EXPECT_EQ(fuzz_offset(6), -0.3);
  EXPECT_EQ(fuzz_offset(37), 1.9);
  EXPECT_EQ(fuzz_offset(38), -1.9);
  EXPECT_THROW(fuzz_offset(39), std::out_of_range);
}

TEST(OptionTable, Shape) {
  EXPECT_STREQ(long_options[0].name, "kiruna");
  EXPECT_STREQ(long_options[41].name, "original");
  EXPECT_STREQ(long_options[42].name, "Kiruna");
  EXPECT_EQ(long_options[42].val, 273);
  EXPECT_STREQ(long_options[96].name, "Default");
  EXPECT_EQ(long_options[96].val, 327);
  EXPECT_EQ(long_options[97].name, nullptr);
  EXPECT_STREQ(short_options, "A:B:CE:F:J:K:L:S:U:V:W:X:a:b:ce:f:j:k:l:s:u:v:w:x:");
}

}  // namespace

namespace {

TEST(Sources, DeviationFromSbazAtTheTimeOrFromTheValue) {
  reset_settings();
  get_station_azimuth("Kiruna", "120");
  default_sbaz = 2.0;
  get_station_azimuth("Jamton_M1", "130:3");
  get_station_azimuth("Lulea", " 140deg:4");  // text before ':' is skipped
  new_station("A:60:15:150");
  new_station("B:60:15:160:0.5");
  new_station("C:60:15:170:   ");  // a blank fifth field keeps the default
  new_station("D:60:15:180:x");    // a fifth field that is no number reads 0
  ASSERT_EQ(new_stations.size(), 7u);
  const double sbaz[] = {0.1, 3, 4, 2, 0.5, 2, 0};
  const double baz[] = {120, 130, 140, 150, 160, 170, 180};
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(new_stations[i].sbaz, sbaz[i]) << i;
    EXPECT_EQ(new_stations[i].baz, baz[i]) << i;
    EXPECT_EQ(new_stations[i].baz_original, baz[i]) << i;
  }
  EXPECT_EQ(new_stations[1].get_name(), "Jamton M1");
  EXPECT_EQ(new_stations[3].get_name(), "A");
  EXPECT_EQ(new_stations[3].get_latitude(), 60.0);
  EXPECT_EQ(new_stations[3].get_longitude(), 15.0);
  reset_settings();
}

TEST(Sources, AdHocFieldsSkipTextAfterTheNumber) {
  reset_settings();
  new_station(":1.5deg:2.5W:90");
  ASSERT_EQ(new_stations.size(), 1u);
  EXPECT_EQ(new_stations[0].get_name(), "");
  EXPECT_EQ(new_stations[0].get_latitude(), 1.5);
  EXPECT_EQ(new_stations[0].get_longitude(), 2.5);
  EXPECT_EQ(new_stations[0].baz, 90.0);
  reset_settings();
}

}  // namespace

// ------------------------------------------------------------ checked search

namespace {

Station source(const char* name, double lat, double lon, double baz) {
  Station s = create_station("Default", epoch, baz, baz, 0.1);
  s.set_name(name);
  s.set_latitude(lat);
  s.set_longitude(lon);
  return s;
}

// A stand-in location method: records the bearings of every trial and
// answers with a fixed location or an error.
struct Trials {
  static inline std::vector<std::pair<double, double>> seen;
  static inline double lat = 0, lon = 0;
  static inline int code = 0;
  static int method(const Station& s1, const Station& s2, Station& loc) {
    seen.emplace_back(s1.baz, s2.baz);
    if (code == 0) {
      loc.set_latitude(lat);
      loc.set_longitude(lon);
    }
    return code;
  }
  static void reset(double la, double lo, int c) {
    seen.clear();
    lat = la;
    lon = lo;
    code = c;
    calculate_location = method;
  }
};

class Search : public testing::Test {
 protected:
  void SetUp() override { reset_settings(); }
  void TearDown() override { reset_settings(); }
  Station loc = create_station("Default", epoch, 0, 0, 0);
  bool flag1 = true, flag2 = true;
};

TEST_F(Search, FoldedDifferenceAgainstTheTolerance) {
  // The heading from (0, 0) to this point is about 350 degrees; a bearing of
  // 10 differs from it by 20 after the fold.
  Station s1 = source("A", 0.0, 0.0, 10.0);
  Station s2 = source("B", 0.0, 0.0, 10.0);
  loc.set_latitude(10.0);
  loc.set_longitude(-1.77);
  EXPECT_TRUE(check_az(s1, s2, loc, flag1, flag2));
  acceptable_deviation = 19.0;
  EXPECT_FALSE(check_az(s1, s2, loc, flag1, flag2));
  EXPECT_FALSE(flag1);
  EXPECT_FALSE(flag2);
  // A NaN heading disagrees whatever the tolerance.
  acceptable_deviation = 1e300;
  loc.set_latitude(std::nan(""));
  EXPECT_FALSE(check_az(s1, s2, loc, flag1, flag2));
}

TEST_F(Search, TrialOrderOuterStationOneInnerStationTwo) {
  Station s1 = source("A", 60, 10, 100);
  Station s2 = source("B", 61, 12, 200);
  Trials::reset(std::nan(""), 0, 0);  // never confirmed
  EXPECT_FALSE(test_angle_fuzz(0, 3, s1, s2, loc, flag1, flag2));
  ASSERT_EQ(Trials::seen.size(), 9u);
  EXPECT_EQ(Trials::seen[0], std::make_pair(100.0, 200.0));
  EXPECT_EQ(Trials::seen[1], std::make_pair(100.0, 200.1));
  EXPECT_EQ(Trials::seen[2], std::make_pair(100.0, 199.9));
  EXPECT_EQ(Trials::seen[3], std::make_pair(100.1, 200.0));
  EXPECT_EQ(Trials::seen[8], std::make_pair(99.9, 199.9));
  // The working bearings keep the last trial; the measured ones never change.
  EXPECT_EQ(s1.baz, 99.9);
  EXPECT_EQ(s1.baz_original, 100.0);
  EXPECT_EQ(s2.baz_original, 200.0);
}

TEST_F(Search, FirstConfirmedTrialEndsTheSearch) {
  Station s1 = source("A", 60, 10, 90);
  Station s2 = source("B", 60, 12, 270);
  Trials::reset(60.01, 11, 0);  // between the two, on both bearings
  EXPECT_TRUE(test_angle_fuzz(0, 11, s1, s2, loc, flag1, flag2));
  EXPECT_EQ(Trials::seen.size(), 1u);
  EXPECT_TRUE(flag1 && flag2);
}

TEST_F(Search, IdenticalStationsAreRefusedWithoutATrial) {
  Station s1 = source("A", 60, 10, 90);
  Station s2 = source("A", 60, 10, 45);
  Trials::reset(60, 11, 0);
  EXPECT_TRUE(test_angle_fuzz(0, 11, s1, s2, loc, flag1, flag2));
  EXPECT_TRUE(Trials::seen.empty());
  EXPECT_FALSE(flag1 || flag2);
  // Same place, other name: searched as usual.
  s2.set_name("B");
  test_angle_fuzz(0, 1, s1, s2, loc, flag1, flag2);
  EXPECT_EQ(Trials::seen.size(), 1u);
}

TEST_F(Search, CrossingBeyondAQuarterCircleStopsAtOnce) {
  Station s1 = source("A", 0, 0, 90);
  Station s2 = source("B", 0, 10, 270);
  Trials::reset(0, 120, 0);
  EXPECT_TRUE(test_angle_fuzz(0, 11, s1, s2, loc, flag1, flag2));
  EXPECT_EQ(Trials::seen.size(), 1u);
  EXPECT_FALSE(flag1 || flag2);
}

TEST_F(Search, MethodErrorsLeaveTheFlagsAndTryEveryOffset) {
  Station s1 = source("A", 0, 0, 90);
  Station s2 = source("B", 0, 10, 270);
  Trials::reset(0, 5, 10);
  flag1 = false;
  flag2 = true;
  EXPECT_FALSE(test_angle_fuzz(11, 21, s1, s2, loc, flag1, flag2));
  EXPECT_EQ(Trials::seen.size(), 100u);
  EXPECT_FALSE(flag1);
  EXPECT_TRUE(flag2);
  // An empty range makes no trial and returns the flags as they stand.
  flag1 = true;
  EXPECT_TRUE(test_angle_fuzz(5, 5, s1, s2, loc, flag1, flag2));
  EXPECT_EQ(Trials::seen.size(), 100u);
}

}  // namespace
