// Front end: program name, method choice and number reading.

#include "vestra.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
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

// Accepted values of the strtod-style reader: the numeric prefix and how
// much of the text it used.
TEST(Numbers, AcceptedTable) {
  struct Row {
    const char* text;
    double value;
    std::size_t used;
  };
  const Row rows[] = {
      {"120", 120, 3},      {" 120", 120, 4},    {"+120", 120, 4},
      {"120deg", 120, 3},   {"120 x", 120, 3},   {"1.5e2", 150, 5},
      {"1.5e", 1.5, 3},     {"0x10", 16, 4},     {"0x1p4", 16, 5},
      {"0x", 0, 1},         {"0x:3", 0, 1},      {"1e-999", 0, 6},
      {"111::3", 111, 3},   {"-0", 0, 2},
  };
  for (const Row& r : rows) {
    std::size_t used = 99;
    EXPECT_EQ(read_double(r.text, "x", &used), r.value) << r.text;
    EXPECT_EQ(used, r.used) << r.text;
  }
  EXPECT_TRUE(std::signbit(read_double("-1e-999", "x")));
}

TEST(NumbersDeathTest, RefusedTable) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "is not a number"},          {"   ", "is not a number"},
      {":3", "is not a number"},        {".", "is not a number"},
      {"-", "is not a number"},         {"e5", "is not a number"},
      {"1e999", "is out of range"},     {"-1e999", "is out of range"},
      {"0x1p9999", "is out of range"},  {"inf", "is not a finite number"},
      {"-infinity", "is not a finite number"},
      {"-nan", "is not a finite number"},
      {"NAN", "is not a finite number"},
  };
  for (const auto& [text, why] : rows)
    EXPECT_EXIT(read_double(text, "--sbaz"), testing::ExitedWithCode(1),
                std::string("^Error: --sbaz: \"") + text + "\" " + why +
                    "\n$")
        << text;
}

// A megabyte of digits is read (and refused) without echoing it whole.
TEST(NumbersDeathTest, HugeValueIsCutInTheMessage) {
  const std::string digits(1 << 20, '9');
  EXPECT_EXIT(read_double(digits, "--angle"), testing::ExitedWithCode(1),
              "^Error: --angle: \"9{64}\"\\.\\.\\. \\(1048576 bytes\\) "
              "is out of range\n$");
  EXPECT_EXIT(read_double(std::string(1 << 20, ' '), "--angle"),
              testing::ExitedWithCode(1), "\\(1048576 bytes\\) is not a number");
  bool overflow = false;
  EXPECT_EQ(read_long(digits, "--ellipsoid", &overflow), LONG_MAX);
  EXPECT_TRUE(overflow);
  EXPECT_EQ(read_double("12" + std::string(1 << 20, 'x'), "x"), 12.0);
}

TEST(NumbersDeathTest, EllipsoidDigitsOnly) {
  bool overflow = true;
  EXPECT_EQ(read_long("12.9", "x", &overflow), 12);
  EXPECT_EQ(read_long("1e1", "x", &overflow), 1);
  EXPECT_EQ(read_long("0x19", "x", &overflow), 0);
  EXPECT_EQ(read_long("+7", "x", &overflow), 7);
  EXPECT_FALSE(overflow);
  EXPECT_EXIT(read_long("inf", "--ellipsoid", &overflow),
              testing::ExitedWithCode(1), "\"inf\" is not a number");
  EXPECT_EXIT(read_long("  ", "--ellipsoid", &overflow),
              testing::ExitedWithCode(1), "is not a number");
}

class Sources : public testing::Test {
 protected:
  void SetUp() override { reset_settings(); }
  void TearDown() override { reset_settings(); }
  const Station& last() const { return new_stations.back(); }
};

// Station values: azimuth, then the first ":" after it starts the sd.
TEST_F(Sources, StationAzimuthAndDeviation) {
  get_station_azimuth("Kiruna", "111");
  EXPECT_EQ(last().baz_original, 111.0);
  EXPECT_EQ(last().sbaz, 0.1);
  get_station_azimuth("Kiruna", "111:3:4");
  EXPECT_EQ(last().sbaz, 3.0);
  get_station_azimuth("Kiruna", "111abc:2");
  EXPECT_EQ(last().baz_original, 111.0);
  EXPECT_EQ(last().sbaz, 2.0);
  get_station_azimuth("Kiruna", "0x6f:0x1");
  EXPECT_EQ(last().baz_original, 111.0);
  EXPECT_EQ(last().sbaz, 1.0);
  default_sbaz = 5;
  get_station_azimuth("Kiruna", "111 ");
  EXPECT_EQ(last().sbaz, 5.0);
  EXPECT_EQ(new_stations.size(), 5u);
}

TEST_F(Sources, StationValueRefusals) {
  EXPECT_EXIT(get_station_azimuth("Kiruna", "111::3"),
              testing::ExitedWithCode(1),
              "^Error: standard deviation for Kiruna: \":3\" is not a number\n$");
  EXPECT_EXIT(get_station_azimuth("Kiruna", "111:"), testing::ExitedWithCode(1),
              "standard deviation for Kiruna: \"\" is not a number");
  EXPECT_EXIT(get_station_azimuth("XXX", ":3"), testing::ExitedWithCode(1),
              "^Error: azimuth for XXX: \":3\" is not a number\n$");
  EXPECT_EXIT(get_station_azimuth("Kiruna", "111:nan"),
              testing::ExitedWithCode(1), "is not a finite number");
}

// The fifth field of --new-station: missing, empty or blank keep the
// default; text that is no number reads as 0; overflow as the largest double.
TEST_F(Sources, NewStationDeviationField) {
  default_sbaz = 7;
  const std::pair<const char*, double> rows[] = {
      {"A:1:2:3", 7},        {"A:1:2:3:", 7},     {"A:1:2:3:  ", 7},
      {"A:1:2:3:4", 4},      {"A:1:2:3:4:5", 4},  {"A:1:2:3:x", 0},
      {"A:1:2:3:inf", 0},    {"A:1:2:3:0x5", 0},  {"A:1:2:3:1e-999", 0},
      {"A:1:2:3:1e999", std::numeric_limits<double>::max()},
  };
  for (const auto& [value, sd] : rows) {
    new_station(value);
    EXPECT_EQ(last().sbaz, sd) << value;
    EXPECT_EQ(last().baz_original, 3.0) << value;
  }
}

TEST_F(Sources, NewStationFields) {
  new_station(":1:2:3");
  EXPECT_EQ(last().get_name(), "");
  new_station("A:0x10:2deg:3 x");
  EXPECT_EQ(last().get_latitude(), 0.0);
  EXPECT_EQ(last().get_longitude(), 2.0);
  EXPECT_EQ(last().baz_original, 3.0);
  new_station("B:0." + std::string(1 << 20, '0') + "1:2:3");
  EXPECT_EQ(last().get_latitude(), 0.0);
  const char* latitude = "^Error: No latitude\nUse: --new-station=name:latitude:longitude:azimuth\n$";
  for (const char* bad : {"A::1:2:3", "A: :1:2", "A", "", "A:inf:1:2",
                          "A:nan:1:2", "A:60e:1:2", "A:60east:1:2",
                          "A:1e999:1:2"})
    EXPECT_EXIT(new_station(bad), testing::ExitedWithCode(1), latitude) << bad;
  EXPECT_EXIT(new_station("A:1:-inf:2"), testing::ExitedWithCode(1),
              "^Error: No longitude\n");
  EXPECT_EXIT(new_station("A:1:2:"), testing::ExitedWithCode(1),
              "^Error: No azimuth\n");
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
