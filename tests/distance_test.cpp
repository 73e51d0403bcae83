// Station distances on the process-wide earth model and central angles.

#include "distance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "class_location.h"

namespace {

Station at(double lat, double lon) {
  return Station("p", "", "", lat, lon, epoch, 0.0, 0.0, 0.0);
}

// Each test leaves `earth` on WGS 84.
class StationDistance : public ::testing::Test {
 protected:
  void TearDown() override { earth.SetEllipsoid(CEarth::WGS_84); }
};

TEST_F(StationDistance, BothDirectionsOnWgs84) {
  EXPECT_EQ(ellipsoid, CEarth::WGS_84);
  Station a = at(67.8, 20.4), b = at(59.0, 18.0);
  std::unique_ptr<distance> ab(calculate_distance(a, b));
  std::unique_ptr<distance> ba(calculate_distance(b, a));
  EXPECT_NEAR(ab->distance_in_meters, 988026.335, 5e-4);
  EXPECT_NEAR(ab->heading_from_here_to_there, 188.0553159, 5e-8);
  EXPECT_NEAR(ab->heading_from_there_to_here, 5.9029351, 5e-8);
  EXPECT_NEAR(ba->distance_in_meters, ab->distance_in_meters, 1e-6);
  EXPECT_NEAR(ba->heading_from_here_to_there, ab->heading_from_there_to_here,
              1e-9);
  EXPECT_NEAR(ba->heading_from_there_to_here, ab->heading_from_here_to_there,
              1e-9);
}

TEST_F(StationDistance, FollowsTheEllipsoidInForce) {
  Station s = at(10, 20), r = at(-35, 140);
  earth.SetEllipsoid(CEarth::Perfect_Sphere);
  std::unique_ptr<distance> d(calculate_distance(s, r));
  EXPECT_NEAR(d->distance_in_meters, angular_distance(s, r) * 6378137.0, 1e-6);
}

TEST(AngularDistance, KnownAnglesAndUnclampedArcCosine) {
  EXPECT_NEAR(angular_distance_deg(0, 0, 0, 90), 90.0, 1e-12);
  EXPECT_NEAR(angular_distance_deg(90, 0, -90, 0), 180.0, 1e-12);
  EXPECT_NEAR(angular_distance(0, 0, 0, 1.0), 1.0, 1e-15);

  Station s = at(10, 20), r = at(-35, 140);
  EXPECT_EQ(angular_distance_deg(s, r), angular_distance_deg(10, 20, -35, 140));
  EXPECT_NEAR(angular_distance(s, r) * 57.29577951308232,
              angular_distance_deg(s, r), 1e-12);

  EXPECT_EQ(angular_distance_deg(at(0, 0), at(0, 0)), 0.0);
  // Rounding lifts the cosine above 1 here: not a number, and not > 90.
  Station odd = at(-74.6, -180);
  const double self = angular_distance_deg(odd, odd);
  EXPECT_TRUE(std::isnan(self));
  EXPECT_FALSE(self > 90.0);
}

}  // namespace
