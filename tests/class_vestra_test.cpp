// Original crossing method: its routines at the special positions (the
// golden cases sample_location, north_* and meridian_* compare whole
// crossings).

#include "class_vestra.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_support.h"

namespace {

Station at(double lat, double lon, double baz) {
  return source("Default", lat, lon, baz);
}

}  // namespace

// Unit access to the private routines.
class vestra_access {
 public:
  static void l_1000(double x4, double x3, double t0, double d7, double& x,
                     double& y) {
    vestra v(at(0, 0, 0), at(0, 0, 0));
    v.l_1000(x4, x3, t0, d7, x, y);
  }
};

namespace {

TEST(Azimuth, NoReductionOfTheLongitudeSameMeridianAndEquator) {
  EXPECT_NEAR(azimuth(10, 170, 10, -170), 268.3, 0.05);
  EXPECT_NEAR(azimuth(10, -170, 10, 170), 91.7, 0.05);
  EXPECT_EQ(azimuth(50, 10, 60, 10), 0.0);
  EXPECT_EQ(azimuth(60, 10, 50, 10), 180.0);
  EXPECT_TRUE(std::isnan(azimuth(0, 10, 20, 30)));
}

TEST(Delta, PolesAndCoincidentPoints) {
  EXPECT_NEAR(delta(0, 0, 0, 90), 90.0, 1e-9);
  // A latitude of exactly 90 keeps its value, its longitude is turned round.
  EXPECT_NEAR(delta(90, 0, 0, 0), 90.0, 1e-9);
  // Beyond a pole: 90.5 N at 0 E is 89.5 N at 180 E, 90.5 degrees from (0, 0).
  EXPECT_NEAR(delta(90.5, 0, 0, 0), 90.5, 0.01);
  EXPECT_NEAR(delta(0, 0, -90.5, 0), 90.5, 0.01);
  double d = delta(45, 10, 45, 10);
  EXPECT_TRUE(std::isnan(d) || d < 1e-6);
}

TEST(Destination, ZeroDistanceAndThe180thMeridian) {
  double x = 0, y = 0;
  vestra_access::l_1000(45.0, 10.0, 30.0, 0.0, x, y);
  EXPECT_NEAR(x, 44.99976, 5e-6);
  EXPECT_EQ(y, 10.0);
  // 1.5 degrees east of 179 E is 179.5 W, and west of 179 W is 179.5 E.
  vestra_access::l_1000(0.0, 179.0, 90.0, 1.5, x, y);
  EXPECT_NEAR(y, -179.5, 1e-9);
  vestra_access::l_1000(0.0, -179.0, 270.0, 1.5, x, y);
  EXPECT_NEAR(y, 179.5, 1e-9);
}

}  // namespace
