// Station record, angle text forms and the station catalog.

#include "class_location.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

namespace {

Station kiruna() { return create_station("Kiruna", epoch, 0.0, 0.0, 0.0); }

std::string text(Station s, Station::output_types form, const char* sep = ",") {
  s.set_output(form, sep);
  std::ostringstream o;
  o << s;
  return o.str();
}

template <class Angle>
std::string dms(double deg) {
  std::ostringstream o;
  Angle(deg).dms_out(o);
  return o.str();
}

template <class Angle>
std::string dm(double deg) {
  std::ostringstream o;
  Angle(deg).dm_out(o);
  return o.str();
}

TEST(StationForms, KirunaInAllSevenForms) {
  Station k = kiruna();
  EXPECT_EQ(text(k, Station::OUTPUT_LAT_LONG), "67.8561,20.4206");
  EXPECT_EQ(text(k, Station::OUTPUT_LONG_LAT), "20.4206,67.8561");
  EXPECT_EQ(text(k, Station::OUTPUT_XML), "<latitude=67.8561, longitude=20.4206>");
  EXPECT_EQ(text(k, Station::OUTPUT_DM_LAT_LONG), "N67 51.368 E20 25.234");
  EXPECT_EQ(text(k, Station::OUTPUT_DM_LONG_LAT), "E20 25.234 N67 51.368");
  EXPECT_EQ(text(k, Station::OUTPUT_DMS_LAT_LONG),
            "Kiruna         \tN067 51 22.080\tE020 25 14.050\t67.8561\t20.4206");
  EXPECT_EQ(text(k, Station::OUTPUT_DMS_LONG_LAT),
            "Kiruna         \tE020 25 14.050\tN067 51 22.080\t20.4206\t67.8561");
}

TEST(StationForms, SeparatorOnlyAffectsDecimalForms) {
  Station k = kiruna();
  EXPECT_EQ(text(k, Station::OUTPUT_LAT_LONG, " "), "67.8561 20.4206");
  EXPECT_EQ(text(k, Station::OUTPUT_DM_LAT_LONG, "XX"), "N67 51.368 E20 25.234");
  EXPECT_EQ(text(k, Station::OUTPUT_XML, "XX"), "<latitude=67.8561, longitude=20.4206>");
  // The constructor's separator is a line end.
  std::ostringstream o;
  o << k;
  EXPECT_EQ(o.str(), "67.8561\n20.4206");
}

TEST(Angles, DegreesMinutesSeconds) {
  EXPECT_EQ(dms<latitude>(48.83), "N048 49 48.000");
  EXPECT_EQ(dm<latitude>(48.83), "N48 49.800");
  EXPECT_EQ(dms<longitude>(-0.55), "W000 33  0.000");
  EXPECT_EQ(dm<longitude>(-0.55), "W0 33.000");
  EXPECT_EQ(dms<longitude>(-155.2634), "W155 15 48.240");
  EXPECT_EQ(dm<longitude>(-155.2634), "W155 15.804");
  EXPECT_EQ(dms<latitude>(65.86288888888889), "N065 51 46.400");
  EXPECT_EQ(dm<latitude>(65.86288888888889), "N65 51.773");
  // The placeholder coordinates: widths are minimums.
  EXPECT_EQ(dms<latitude>(1000.0), "N1000 00  0.000");
  EXPECT_EQ(dms<longitude>(1000.0), "E1000 00  0.000");
  EXPECT_EQ(dm<latitude>(1000.0), "N1000 0.000");
}

TEST(Angles, HemisphereOfZeroNegativeZeroAndNaN) {
  EXPECT_EQ(dm<latitude>(0.0), "N0 0.000");
  EXPECT_EQ(dm<latitude>(-0.0), "N0 0.000");
  EXPECT_EQ(dm<longitude>(-0.0), "E0 0.000");
  int sign = 0, d = 0;
  double m = 0;
  latitude(std::nan("")).to_dm(sign, d, m);
  EXPECT_EQ(sign, 1);
  EXPECT_TRUE(std::isnan(m));
}

TEST(Angles, NoCarryWhenSecondsRoundUpTo60) {
  // 10 degrees 0 minutes 59.9999 seconds prints 60.000 seconds, minutes kept.
  EXPECT_EQ(dms<latitude>(10.0 + 59.9999 / 3600.0), "N010 00 60.000");
  EXPECT_EQ(dm<latitude>(10.0 + 59.99999 / 60.0), "N10 60.000");
}

TEST(Angles, StreamFormattingIsRestored) {
  std::ostringstream o;
  o << std::setprecision(10) << std::fixed << std::setfill('*');
  Station k = kiruna();
  k.set_output(Station::OUTPUT_DMS_LONG_LAT, ",");
  o << k;
  std::ostringstream fresh;
  EXPECT_EQ(o.precision(), fresh.precision());
  EXPECT_EQ(o.flags(), fresh.flags());
  EXPECT_EQ(o.fill(), fresh.fill());
  o.str("");
  o << 67.85613333333333;
  EXPECT_EQ(o.str(), "67.8561");
}

TEST(Angles, Validity) {
  EXPECT_TRUE(latitude(-90.0).valid());
  EXPECT_TRUE(latitude(90.0).valid());
  EXPECT_FALSE(latitude(90.0000001).valid());
  EXPECT_FALSE(latitude(std::nan("")).valid());
  EXPECT_TRUE(longitude(-180.0).valid());
  EXPECT_TRUE(longitude(180.0).valid());
  EXPECT_FALSE(longitude(-180.0000001).valid());
  EXPECT_FALSE(longitude(std::nan("")).valid());
  EXPECT_FALSE(latitude(1000.0).valid());
}

TEST(StationRecord, LongNamesAreWrittenWhole) {
  Station s = create_station("Default", epoch, 0, 0, 0);
  s.set_name("A very long station name");
  s.set_latitude(1.5);
  s.set_longitude(-2.5);
  EXPECT_EQ(text(s, Station::OUTPUT_DMS_LAT_LONG),
            "A very long station name\tN001 30  0.000\tW002 30  0.000\t1.5\t-2.5");
}

TEST(StationRecord, CopyKeepsFormAndIsIndependent) {
  Station a = kiruna();
  a.set_output(Station::OUTPUT_LONG_LAT, ";");
  Station b = a;
  EXPECT_EQ(b.get_output(), Station::OUTPUT_LONG_LAT);
  EXPECT_EQ(b.separator, ";");
  EXPECT_EQ(b.set_output(Station::OUTPUT_XML, ","), Station::OUTPUT_LONG_LAT);
  EXPECT_EQ(a.get_output(), Station::OUTPUT_LONG_LAT);
  EXPECT_EQ(a.separator, ";");
}

TEST(StationRecordDeathTest, UnknownOutputTypeEndsTheProcess) {
  Station s = kiruna();
  s.output_type = static_cast<Station::output_types>(7);
  std::ostringstream o;
  EXPECT_EXIT(o << s, testing::ExitedWithCode(1), "Unknown output type 7\n");
}

// ------------------------------------------------------------ catalog

struct Entry {
  const char* key;
  const char* name;
  double lat, lon;
};

TEST(Catalog, EveryKeyMakesItsStation) {
  const Entry entries[] = {
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) \
  {#Key, base joiner suffix, lat, lon},
#include "stations.def"
  };
  ASSERT_EQ(std::size(entries), 55u);
  for (const Entry& e : entries) {
    Station s = create_station(e.key, epoch, 10.0, 11.0, 0.5);
    EXPECT_EQ(s.get_name(), e.name) << e.key;
    EXPECT_EQ(s.get_latitude(), e.lat) << e.key;
    EXPECT_EQ(s.get_longitude(), e.lon) << e.key;
    EXPECT_EQ(s.baz, 10.0);
    EXPECT_EQ(s.baz_original, 11.0);
    EXPECT_EQ(s.sbaz, 0.5);
    EXPECT_EQ(s.get_output(), Station::OUTPUT_LAT_LONG);
    EXPECT_EQ(s.separator, "\n");
  }
}

TEST(Catalog, ExactMatchOrDefault) {
  for (const char* key : {"kiruna", "Kiruna ", "", "Unknown", "Default", "KIRUNA"}) {
    Station s = create_station(key, epoch, 1, 2, 3);
    EXPECT_EQ(s.get_name(), "Default") << key;
    EXPECT_EQ(s.get_latitude(), 1000.0);
    EXPECT_EQ(s.get_longitude(), 1000.0);
    EXPECT_EQ(s.baz, 1);
  }
  EXPECT_EQ(create_station("Jamton_M1", epoch, 0, 0, 0).get_name(), "Jamton M1");
  EXPECT_EQ(create_station("KNDC_Almatay", epoch, 0, 0, 0).get_name(), "KNDC_Almatay");
  EXPECT_EQ(create_station("XXX", epoch, 0, 0, 0).get_latitude(), 1000.0);
}

TEST(Catalog, IdentifiersAndNames) {
  EXPECT_EQ(enum2name.size(), 56u);
  EXPECT_EQ(enum2name.at(UNKNOWN), "Unknown");
  EXPECT_EQ(enum2name.at(FIRST), "Kiruna");
  EXPECT_EQ(enum2name.at(USUAL), "Bern");
  EXPECT_EQ(enum2name.at(KNDC), "KNDC_Almatay");
  EXPECT_EQ(enum2name.at(KLOKK), "Klokkerholm");
  EXPECT_EQ(enum2name.at(LAST), "Default");
  EXPECT_EQ(static_cast<int>(DEFAULT), 55);
}

}  // namespace
