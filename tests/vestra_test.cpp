// Front end: program name, method choice, number reading, source values and
// the checks of one trial. (The golden cases identical_stations_invalid,
// norsar_every_trial_fails and range_*_stations run the search over pairs.)

#include "vestra.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <limits>
#include <utility>

#include "distance.h"
#include "test_support.h"

namespace {

using testing::ExitedWithCode;

// The program name is lower-cased; the help text keeps the case.
TEST(ProgramName, LowerCasedWithoutDirectoryAndExtension) {
  const struct {
    const char *arg0, *name, *in_help;
  } rows[] = {{"/usr/local/bin/Vestra.exe", "vestra", "Vestra"},
              {"C:\\Tools\\VESTRA.EXE", "vestra", "VESTRA"},
              {"./a.b.c", "a.b", "a.b"},
              {"dir.d/prog", "prog", "prog"},
              {"", "", ""}};
  for (const auto& r : rows) {
    char* argv[] = {const_cast<char*>(r.arg0), nullptr};
    EXPECT_EQ(program_name(gsl::span<char*>(argv, 1)), r.name) << r.arg0;
    testing::internal::CaptureStdout();
    usage(r.arg0);
    EXPECT_NE(testing::internal::GetCapturedStdout().find(
                  std::string("Usage:\n    ") + r.in_help + " --station1="),
              std::string::npos)
        << r.arg0;
  }
  EXPECT_EXIT(program_name(gsl::span<char*>()), ExitedWithCode(1),
              "^Error: no program name in the argument vector\n$");
}

TEST(MethodChoice, Rot13AndStoredNames) {
  std::string s = "Hello, World-az";
  rot13(s);
  EXPECT_EQ(s, "Uryyb, Jbeyq-nm");
  for (const char* name : {"vestra-norsar", "vestra-back-azimuths", "vnorsar",
                           "vestra-baz-loc"})
    EXPECT_TRUE(norsar(name)) << name;
  for (const char* name : {"vestra", "", "irfgen-abefne"})  // last: stored form
    EXPECT_FALSE(norsar(name)) << name;
}

// The refusals of golden/refusals.txt run whole command lines; these tables
// hold the values at the reader's edges.

// Accepted values of the strtod-style reader: the numeric prefix and how much
// of the text it used.
TEST(Numbers, AcceptedTable) {
  const struct {
    const char* text;
    double value;
    std::size_t used;
  } rows[] = {
      {"120", 120, 3},    {" 120", 120, 4},    {"+120", 120, 4},
      {"120deg", 120, 3}, {"120 x", 120, 3},   {"1.5e2", 150, 5},
      {"1.5e", 1.5, 3},   {"0x10", 16, 4},     {"0x1p4", 16, 5},
      {"0x", 0, 1},       {"0x:3", 0, 1},      {"1e-999", 0, 6},
      {"111::3", 111, 3}, {"-0", 0, 2},        {"  7.5abc", 7.5, 5},
  };
  for (const auto& r : rows) {
    std::size_t used = 99;
    EXPECT_EQ(read_double(r.text, "x", &used), r.value) << r.text;
    EXPECT_EQ(used, r.used) << r.text;
  }
  EXPECT_TRUE(std::signbit(read_double("-1e-999", "x")));
  EXPECT_EQ(read_double("12" + std::string(1 << 20, 'x'), "x"), 12.0);
}

TEST(NumbersDeathTest, RefusedTable) {
  const std::pair<const char*, const char*> rows[] = {
      {"   ", "is not a number"},      {".", "is not a number"},
      {"-", "is not a number"},        {"e5", "is not a number"},
      {"-1e999", "is out of range"},   {"0x1p9999", "is out of range"},
      {"-infinity", "is not a finite number"},
      {"-nan", "is not a finite number"}, {"NAN", "is not a finite number"},
  };
  errno = ERANGE;  // left over from an earlier call: must not count
  for (const auto& [text, why] : rows)
    EXPECT_EXIT(read_double(text, "--sbaz"), ExitedWithCode(1),
                std::string("^Error: --sbaz: \"") + text + "\" " + why + "\n$")
        << text;
}

// The cut of long values in messages: golden cases value_angle_long and
// value_cut_before_utf8.
TEST(NumbersDeathTest, EllipsoidDigitsOnly) {
  const std::pair<const char*, long> rows[] = {
      {"12.9", 12}, {"1e1", 1}, {"0x19", 0}, {"+7", 7}, {" -12xyz", -12}};
  for (const auto& [text, value] : rows) {
    bool overflow = true;
    errno = ERANGE;  // left over from an earlier call: must not count
    EXPECT_EQ(read_long(text, "x", &overflow), value) << text;
    EXPECT_FALSE(overflow) << text;
  }
  bool overflow = false;
  EXPECT_EQ(read_long(std::string(1 << 20, '9'), "x", &overflow), LONG_MAX);
  EXPECT_TRUE(overflow);
  for (const char* bad : {"inf", "  ", "x1"})
    EXPECT_EXIT(read_long(bad, "--ellipsoid", &overflow), ExitedWithCode(1),
                std::string("--ellipsoid: \"") + bad + "\" is not a number")
        << bad;
}

class Sources : public testing::Test {
 protected:
  void SetUp() override { reset_settings(); }
  void TearDown() override { reset_settings(); }
  const Station& last() const { return new_stations.back(); }
};

// --xxx-lat and --xxx-long refuse a value just beyond their bounds; the
// bounds themselves are accepted (golden case xxx_bounds_accepted).
using XxxDeathTest = Sources;
TEST_F(XxxDeathTest, JustBeyondTheBoundsIsRefused) {
  for (std::string option : {"--xxx-lat=90.000001", "--xxx-lat=-90.000001",
                             "--xxx-long=180.000001", "--xxx-long=-180.000001"}) {
    std::string words[] = {"vestra", "-x", "10", option};
    char* argv[] = {words[0].data(), words[1].data(), words[2].data(),
                    words[3].data(), nullptr};
    EXPECT_EXIT(vestra_main(4, argv), ExitedWithCode(1),
                "\n" + option.substr(option.find('=') + 1) + " out of range")
        << option;
  }
}

// Station values: azimuth, then the first ":" after it starts the sd.
TEST_F(Sources, StationAzimuthAndDeviation) {
  default_sbaz = 5;
  const struct {
    const char* value;
    double baz, sbaz;
  } rows[] = {{"111", 111, 5},      {"111:3:4", 111, 3}, {"111abc:2", 111, 2},
              {"0x6f:0x1", 111, 1}, {"111 ", 111, 5}};
  for (const auto& r : rows) {
    get_station_azimuth("Kiruna", r.value);
    EXPECT_EQ(last().baz_original, r.baz) << r.value;
    EXPECT_EQ(last().sbaz, r.sbaz) << r.value;
  }
  EXPECT_EQ(new_stations.size(), std::size(rows));
  EXPECT_EXIT(get_station_azimuth("Kiruna", "111:"), ExitedWithCode(1),
              "^Error: standard deviation for Kiruna: \"\" is not a number\n$");
}

// The fifth field of --new-station: missing, empty or blank keep the
// default; text that is no number reads as 0; overflow as the largest double.
TEST_F(Sources, NewStationDeviationField) {
  default_sbaz = 7;
  const std::pair<const char*, double> rows[] = {
      {"A:1:2:3", 7},     {"A:1:2:3:", 7},    {"A:1:2:3:  ", 7},
      {"A:1:2:3:4", 4},   {"A:1:2:3:4:5", 4}, {"A:1:2:3:x", 0},
      {"A:1:2:3:inf", 0}, {"A:1:2:3:0x5", 0}, {"A:1:2:3:1e-999", 0},
      {"A:1:2:3:1e999", std::numeric_limits<double>::max()},
  };
  for (const auto& [value, sd] : rows) {
    new_station(value);
    EXPECT_EQ(last().sbaz, sd) << value;
    EXPECT_TRUE(last().baz == 3.0 && last().baz_original == 3.0) << value;
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
  const char* latitude =
      "^Error: No latitude\nUse: --new-station=name:latitude:longitude:azimuth\n$";
  for (const char* bad : {"A: :1:2", "", "A:nan:1:2"})
    EXPECT_EXIT(new_station(bad), ExitedWithCode(1), latitude) << bad;
  EXPECT_EXIT(new_station("A:1:-inf:2"), ExitedWithCode(1), "^Error: No longitude\n");
}

// ------------------------------------------------------------ checked search

// A stand-in location method: counts the trials and answers with a fixed
// location.
struct Trials {
  static inline int seen = 0;
  static inline double lat = 0, lon = 0;
  static int method(const Station&, const Station&, Station& loc) {
    ++seen;
    loc.set_latitude(lat);
    loc.set_longitude(lon);
    return 0;
  }
  static void reset(double la, double lo) {
    seen = 0, lat = la, lon = lo;
    calculate_location = method;
  }
};

class Search : public Sources {
 protected:
  Station loc = create_station("Default", epoch, 0, 0, 0);
  bool flag1 = true, flag2 = true;
};

// The heading from (0, 0) to (0, 10) is exactly 90 degrees, and to (10, 0)
// exactly 0: a bearing differing from it by exactly the tolerance is
// accepted, after the difference is folded into [0, 180].
TEST_F(Search, DifferenceUpToTheToleranceAgrees) {
  const struct {
    double lat, lon, baz1, baz2, tolerance;
    bool flag1, flag2;
  } rows[] = {
      {0, 10, 100, 80, 10, true, true},   {0, 10, 100, 80, 9.5, false, false},
      {0, 10, 270.5, 80, 179.5, true, true},
      {0, 10, 270.5, 80, 179, false, true},
      {10, 0, 350, 10, 10, true, true},   {10, 0, 350, 12, 10, true, false},
      {NAN, 0, 0, 0, 1e300, false, false},  // a NaN heading disagrees
  };
  for (const auto& r : rows) {
    Station s1 = source("A", 0, 0, r.baz1), s2 = source("B", 0, 0, r.baz2);
    loc.set_latitude(r.lat);
    loc.set_longitude(r.lon);
    acceptable_deviation = r.tolerance;
    const bool agreed = check_az(s1, s2, loc, flag1, flag2);
    EXPECT_TRUE(agreed == (r.flag1 && r.flag2) && flag1 == r.flag1 &&
                flag2 == r.flag2)
        << r.baz1 << " " << r.baz2 << " " << r.tolerance;
  }
}

// The first trial ends the search, confirmed, or refused for good when the
// crossing lies more than a quarter circle from either station (exactly a
// quarter circle is not more).
TEST_F(Search, EarlyExits) {
  const struct {
    double lon1, lon2, loc_lat, loc_lon;
    bool confirmed;
  } rows[] = {
      {10, 12, 60.01, 11, true},  // at 60 N: between, on both bearings
      {0, 180, 0, 90, true},      // on the equator: 90 degrees from both
      {0, 180, 0, 90.05, false},  // 90.05 from station 1
      {0, 180, 0, 89.95, false},  // 90.05 from station 2
  };
  for (const auto& r : rows) {
    const double lat = r.loc_lat == 0 ? 0 : 60;
    Station s1 = source("A", lat, r.lon1, 90), s2 = source("B", lat, r.lon2, 270);
    Trials::reset(r.loc_lat, r.loc_lon);
    EXPECT_TRUE(test_angle_fuzz(0, 11, s1, s2, loc, flag1, flag2));
    EXPECT_EQ(Trials::seen, 1) << r.loc_lon;
    EXPECT_TRUE(flag1 == r.confirmed && flag2 == r.confirmed) << r.loc_lon;
  }
}

}  // namespace
