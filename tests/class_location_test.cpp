// Angle text forms at their edges. (The golden cases show stations and
// locations in the forms the program writes.)

#include "class_location.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace {

Station kiruna() { return create_station("Kiruna", epoch, 0.0, 0.0, 0.0); }

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
