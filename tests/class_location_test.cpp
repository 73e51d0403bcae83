// Station record, angle text forms and the station catalog.

#include "class_location.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

#include "test_support.h"

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

// Kiruna in all seven forms; the separator only affects the decimal forms.
TEST(StationForms, KirunaInAllSevenForms) {
  const std::pair<Station::output_types, const char*> forms[] = {
      {Station::OUTPUT_LAT_LONG, "67.8561XX20.4206"},
      {Station::OUTPUT_LONG_LAT, "20.4206XX67.8561"},
      {Station::OUTPUT_XML, "<latitude=67.8561, longitude=20.4206>"},
      {Station::OUTPUT_DM_LAT_LONG, "N67 51.368 E20 25.234"},
      {Station::OUTPUT_DM_LONG_LAT, "E20 25.234 N67 51.368"},
      {Station::OUTPUT_DMS_LAT_LONG,
       "Kiruna         \tN067 51 22.080\tE020 25 14.050\t67.8561\t20.4206"},
      {Station::OUTPUT_DMS_LONG_LAT,
       "Kiruna         \tE020 25 14.050\tN067 51 22.080\t20.4206\t67.8561"},
  };
  for (const auto& [form, written] : forms)
    EXPECT_EQ(text(kiruna(), form, "XX"), written) << form;
  // The constructor's form and separator: decimal, a line end.
  Station k = kiruna();
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
  for (double lat : {-90.0, 90.0}) EXPECT_TRUE(latitude(lat).valid()) << lat;
  for (double lon : {-180.0, 180.0}) EXPECT_TRUE(longitude(lon).valid()) << lon;
  for (double lat : {90.0000001, std::nan(""), 1000.0})
    EXPECT_FALSE(latitude(lat).valid()) << lat;
  for (double lon : {-180.0000001, std::nan("")})
    EXPECT_FALSE(longitude(lon).valid()) << lon;
}

TEST(StationRecordDeathTest, LongNamesWholeUnknownOutputTypeRefused) {
  Station s = source("A very long station name", 1.5, -2.5, 0);
  EXPECT_EQ(text(s, Station::OUTPUT_DMS_LAT_LONG),
            "A very long station name\tN001 30  0.000\tW002 30  0.000\t1.5\t-2.5");
  s.output_type = static_cast<Station::output_types>(7);
  std::ostringstream o;
  EXPECT_EXIT(o << s, testing::ExitedWithCode(1), "Unknown output type 7\n");
}

// ------------------------------------------------------------ catalog

TEST(Catalog, EveryKeyMakesItsStation) {
  const struct {
    const char* key;
    const char* name;
    double lat, lon;
  } entries[] = {
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) \
  {#Key, base joiner suffix, lat, lon},
#include "stations.def"
  };
  ASSERT_EQ(std::size(entries), 55u);
  for (const auto& e : entries) {
    Station s = create_station(e.key, epoch, 10.0, 11.0, 0.5);
    EXPECT_EQ(s.get_name(), e.name) << e.key;
    EXPECT_EQ(s.get_latitude(), e.lat) << e.key;
    EXPECT_EQ(s.get_longitude(), e.lon) << e.key;
    EXPECT_TRUE(s.baz == 10.0 && s.baz_original == 11.0 && s.sbaz == 0.5);
  }
}

TEST(Catalog, ExactMatchOrDefault) {
  for (const char* key : {"kiruna", "Kiruna ", "", "Unknown", "Default", "KIRUNA"}) {
    Station s = create_station(key, epoch, 1, 2, 3);
    EXPECT_EQ(s.get_name(), "Default") << key;
    EXPECT_TRUE(s.get_latitude() == 1000.0 && s.get_longitude() == 1000.0);
    EXPECT_EQ(s.baz, 1);
  }
  EXPECT_EQ(create_station("Jamton_M1", epoch, 0, 0, 0).get_name(), "Jamton M1");
  EXPECT_EQ(create_station("KNDC_Almatay", epoch, 0, 0, 0).get_name(), "KNDC_Almatay");
  EXPECT_EQ(create_station("XXX", epoch, 0, 0, 0).get_latitude(), 1000.0);
}

}  // namespace
