// Station distances on the process-wide earth model. (The golden cases
// compare the distances on WGS 84 as travel times, and the central angles
// through the quarter-circle refusal.)

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

TEST_F(StationDistance, FollowsTheEllipsoidInForce) {
  Station s = at(10, 20), r = at(-35, 140);
  earth.SetEllipsoid(CEarth::Perfect_Sphere);
  std::unique_ptr<distance> d(calculate_distance(s, r));
  EXPECT_NEAR(d->distance_in_meters, angular_distance(s, r) * 6378137.0, 1e-6);
}

}  // namespace
