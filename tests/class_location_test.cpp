// Station record and angle text forms.

#include "class_location.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace {

Station kiruna() { return create_station("Kiruna", epoch, 0.0, 0.0, 0.0); }

std::string text(Station s, Station::output_types form, const char* sep) {
  s.set_output(form, sep);
  std::ostringstream o;
  o << s;
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

// The two angle forms, D-M-S and D-M, of a latitude or a longitude.
TEST(Angles, DegreesMinutesSecondsAndDegreesMinutes) {
  const struct {
    bool is_latitude;
    double deg;
    const char *dms, *dm;
  } rows[] = {
      {false, -0.55, "W000 33  0.000", "W0 33.000"},  // seconds 6 wide
      {false, -155.2634, "W155 15 48.240", "W155 15.804"},
      {true, 0.0, "N000 00  0.000", "N0 0.000"},
      {true, -0.0, "N000 00  0.000", "N0 0.000"},  // -0 is not south
      {true, 1000.0, "N1000 00  0.000", "N1000 0.000"},  // widths are minimums
      // Seconds (minutes) that round up to 60 are printed so, no carry.
      {true, 10.0 + 59.9999 / 3600.0, "N010 00 60.000", "N10 1.000"},
      {true, 10.0 + 59.99999 / 60.0, "N010 59 59.999", "N10 60.000"},
  };
  for (const auto& r : rows) {
    std::ostringstream dms, dm;
    if (r.is_latitude) {
      latitude(r.deg).dms_out(dms), latitude(r.deg).dm_out(dm);
    } else {
      longitude(r.deg).dms_out(dms), longitude(r.deg).dm_out(dm);
    }
    EXPECT_EQ(dms.str(), r.dms) << r.deg;
    EXPECT_EQ(dm.str(), r.dm) << r.deg;
  }
}

// Both angle forms leave the stream formatted as a fresh one, whatever it
// was set to before.
TEST(Angles, StreamFormattingIsRestored) {
  const std::ostringstream fresh;
  for (auto form : {Station::OUTPUT_DM_LONG_LAT, Station::OUTPUT_DMS_LONG_LAT}) {
    std::ostringstream o;
    o << std::setprecision(10) << std::fixed << std::setfill('*');
    Station k = kiruna();
    k.set_output(form, ",");
    o << k;
    EXPECT_EQ(o.precision(), fresh.precision()) << form;
    EXPECT_EQ(o.flags(), fresh.flags()) << form;
    EXPECT_EQ(o.fill(), fresh.fill()) << form;
  }
}

}  // namespace
