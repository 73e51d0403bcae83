// Earth model: the ellipsoid table against the published constants, and
// Vincenty's inverse and direct problems and the coordinate conversions
// against GeographicLib on seeded random points.

#include "GFC.h"

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/Geodesic.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

CPolarCoordinate polar(double lat, double lon, double h = 0.0) {
  CPolarCoordinate p;
  p.Set(lat, lon, h);
  return p;
}

// |a - b| on the circle, degrees.
double angle_gap(double a, double b) {
  double d = std::fmod(std::fabs(a - b), 360.0);
  return d > 180.0 ? 360.0 - d : d;
}

struct Inverse {
  double s, az1, az2;
};
Inverse inverse(const CEarth& earth, double lat1, double lon1, double lat2,
                double lon2) {
  Inverse r{};
  r.s = earth.GetSurfaceDistance(polar(lat1, lon1), polar(lat2, lon2), &r.az1,
                                 &r.az2);
  return r;
}

// Every ellipsoid by its published semi-major axis a and inverse flattening
// 1/f. The table holds b rounded to the micrometre, so b lies within half a
// micrometre of a (1 - f).
TEST(Ellipsoid, EveryRowMatchesThePublishedConstants) {
  const struct {
    int id;
    const char* name;
    double a, inverse_f;
  } rows[] = {
      {1, "Perfect_Sphere", 6378137.0, inf},
      {2, "Airy", 6377563.396, 299.3249646},
      {3, "Austrailian_National", 6378160.0, 298.25},
      {4, "Bessell_1841", 6377397.155, 299.1528128},
      {5, "Bessel_1841_Nambia", 6377483.865, 299.1528128},
      {6, "Clarke_1866", 6378206.4, 294.9786982},
      {7, "Clarke_1880", 6378249.145, 293.465},
      {8, "Everest", 6377276.345, 300.8017},
      {9, "Fischer_1960_Mercury", 6378166.0, 298.3},
      {10, "Fischer_1968", 6378150.0, 298.3},
      {11, "GRS_1967", 6378160.0, 298.247167427},
      {12, "GRS_1980", 6378137.0, 298.257222101},
      {13, "Helmert_1906", 6378200.0, 298.3}, {14, "Hough", 6378270.0, 297.0},
      {15, "International", 6378388.0, 297.0},
      {16, "Krassovsky", 6378245.0, 298.3},
      {17, "Modified_Airy", 6377340.189, 299.3249646},
      {18, "Modified_Everest", 6377304.063, 300.8017},
      {19, "Modified_Fischer_1960", 6378155.0, 298.3},
      {20, "South_American_1969", 6378160.0, 298.25},
      {21, "Topex_Poseidon_Pathfinder_ITRF", 6378136.3, 298.257},
      {22, "WGS_60", 6378165.0, 298.3}, {23, "WGS_66", 6378145.0, 298.25},
      {24, "WGS_72", 6378135.0, 298.26},
      {25, "WGS_84", 6378137.0, 298.257223563},
  };
  for (const auto& row : rows) {
    CEarth earth(row.id);
    EXPECT_STREQ(earth.GetEllipsoidName(), row.name) << row.id;
    EXPECT_EQ(earth.GetEquatorialRadiusInMeters(), row.a) << row.name;
    EXPECT_NEAR(earth.GetPolarRadiusInMeters(), row.a * (1 - 1 / row.inverse_f),
                5e-7)
        << row.name;
  }
  // Any other id leaves no ellipsoid: no radii, no flattening (headings as on
  // a sphere).
  const double sphere_az1 = inverse(CEarth(CEarth::Perfect_Sphere), 10, 0, 20, 5).az1;
  for (int id : {0, 26, -1}) {
    CEarth earth(CEarth::WGS_84);
    earth.SetEllipsoid(id);
    EXPECT_STREQ(earth.GetEllipsoidName(), "Unknown") << id;
    EXPECT_TRUE(earth.GetEquatorialRadiusInMeters() == 0.0 &&
                earth.GetPolarRadiusInMeters() == 0.0) << id;
    EXPECT_EQ(inverse(earth, 10, 0, 20, 5).az1, sphere_az1) << id;
  }
}

// The conventions at the special positions: equator, meridians (the heading
// back to point 1 is 360, not 0), coincident points; and a pair that does
// not settle, a sphere, a position that is not a number.
TEST(Inverse, SpecialPositionsOnWgs84) {
  const CEarth earth(CEarth::WGS_84);
  const struct {
    double lat1, lon1, lat2, lon2, s, az1, az2;
  } cases[] = {
      {0, 0, 0, 1, 111319.491, 90, 270},
      {0, 0, 1, 0, 110574.389, 0, 180},
      {50, 10, 60, 10, 1113225.778, 0, 180},
      {60, 10, 50, 10, 1113225.778, 180, 360},
      {0, 0, 0, 0, 0, 0, 180},
  };
  for (const auto& c : cases) {
    Inverse r = inverse(earth, c.lat1, c.lon1, c.lat2, c.lon2);
    EXPECT_NEAR(r.s, c.s, 5e-4) << c.lat1 << "," << c.lon1;
    EXPECT_EQ(r.az1, c.az1) << c.lat1 << "," << c.lon1;
    EXPECT_EQ(r.az2, c.az2) << c.lat1 << "," << c.lon1;
  }
  // Nearly antipodal: the pass limit ends the iteration with finite values.
  Inverse r = inverse(earth, 0, 0, 0.5, 179.5);
  EXPECT_TRUE(std::isfinite(r.s) && r.s > 19e6) << r.s;
  EXPECT_NEAR(inverse(CEarth(CEarth::Perfect_Sphere), 0, 0, 0, 1).s,
              111319.491, 5e-4);
  EXPECT_TRUE(std::isnan(inverse(earth, NAN, 0, 1, 1).s));
}

// Some pairs far apart in longitude alternate between two values of lambda
// for ever; the earth model stops once it sees the repeat, on the state the
// pass limit of 200 would end with. The headings are those of an iteration
// run to the limit without the shortcut, to the bit.
TEST(Inverse, AlternatingPairsEndAsAtThePassLimit) {
  const CEarth earth(CEarth::WGS_84);
  const struct {
    double lat1, lon1, lat2, lon2, az1;
  } rows[] = {
      {47.474569024810165, -22.49939994524442, 11.74947399789103,
       -160.29633486031668, 315.73731002855754},
      {63.441069479698996, 23.296432429215059, -41.513919953314684,
       -158.138452815948, 2.8543679675497171},
      {-9.3284605049029636, 135.47870631969624, -81.094210123393935,
       -16.902834492954611, 184.12728594628197},
      {-41.941367682834709, -2.4023587357865495, 29.016744951902083,
       -179.27108575258916, 191.80042748751748},
  };
  for (const auto& r : rows)
    EXPECT_EQ(inverse(earth, r.lat1, r.lon1, r.lat2, r.lon2).az1, r.az1) << r.lat1;
}

TEST(Inverse, MatchesGeographicLibOnRandomPairs) {
  for (int id : {CEarth::WGS_84, CEarth::International, CEarth::Clarke_1866}) {
    const CEarth earth(id);
    const double a = earth.GetEquatorialRadiusInMeters();
    const double b = earth.GetPolarRadiusInMeters();
    const GeographicLib::Geodesic reference(a, (a - b) / a);
    std::mt19937_64 rng(20240611u + id);
    std::uniform_real_distribution<double> lat(-90, 90), lon(-180, 180);
    int compared = 0;
    for (int i = 0; i < 3000; ++i) {
      const double lat1 = lat(rng), lon1 = lon(rng);
      const double lat2 = lat(rng), lon2 = lon(rng);
      double s12, azi1, azi2;
      if (reference.Inverse(lat1, lon1, lat2, lon2, s12, azi1, azi2) > 179.0)
        continue;  // nearly antipodal
      ++compared;
      Inverse r = inverse(earth, lat1, lon1, lat2, lon2);
      ASSERT_NEAR(r.s, s12, 1e-3) << id << ": " << lat1 << "," << lon1 << " "
                                  << lat2 << "," << lon2;
      ASSERT_LT(angle_gap(r.az1, azi1), 1e-6) << id << ": " << lat1;
      ASSERT_LT(angle_gap(r.az2, azi2 + 180.0), 1e-6) << id << ": " << lat1;
    }
    EXPECT_GT(compared, 2900);
  }
}

// The direct problem on an ellipsoid given by a and f; the height of the end
// point is left as it was.
TEST(Direct, MatchesGeographicLibOnRandomStarts) {
  CEarth earth;
  earth.SetEllipsoidByEquatorialRadiusAndFlattening(6378388.0, 1 / 297.0);
  EXPECT_STREQ(earth.GetEllipsoidName(), "Custom");
  EXPECT_NEAR(earth.GetPolarRadiusInMeters(), 6356911.946128, 5e-7);
  const GeographicLib::Geodesic reference(6378388.0, 1 / 297.0);
  std::mt19937_64 rng(7u);
  std::uniform_real_distribution<double> lat(-89.9, 89.9), lon(-180, 180),
      az(0, 360), s(0, 1.5e7);
  for (int i = 0; i < 2000; ++i) {
    const double lat1 = lat(rng), lon1 = lon(rng), azi = az(rng), s12 = s(rng);
    double lat2, lon2;
    reference.Direct(lat1, lon1, azi, s12, lat2, lon2);
    CPolarCoordinate end = polar(0, 0, 7.0);
    earth.AddSurfaceDistanceAndDirectionToCoordinate(polar(lat1, lon1), s12,
                                                     azi, end);
    ASSERT_NEAR(end.GetUpDownAngleInDegrees(), lat2, 1e-8) << i;
    ASSERT_LT(angle_gap(end.GetLeftRightAngleInDegrees(), lon2), 1e-8) << i;
    ASSERT_EQ(end.GetDistanceFromSurfaceInMeters(), 7.0) << i;
  }
}

// Geodetic to earth-centred and back, on an ellipsoid given by its radii.
// The way back may give up on a point whose iteration alternates (it then
// returns 0, 0, 0), but only rarely.
TEST(Convert, MatchesGeographicLibBothWays) {
  CEarth earth;
  earth.SetEllipsoidByRadii(6378388.0, 6356911.946128);
  EXPECT_STREQ(earth.GetEllipsoidName(), "Custom");
  const GeographicLib::Geocentric reference(6378388.0,
                                            (6378388.0 - 6356911.946128) / 6378388.0);
  std::mt19937_64 rng(99u);
  std::uniform_real_distribution<double> lat(-90, 90), lon(-180, 180),
      h(-100, 10000);
  int given_up = 0, near_pole = 0;
  const int n = 4000;
  CEarthCoordinate c;
  CPolarCoordinate p;
  for (int i = 0; i < n; ++i) {
    const double lat0 = lat(rng), lon0 = lon(rng), h0 = h(rng);
    double x, y, z;
    reference.Forward(lat0, lon0, h0, x, y, z);
    earth.Convert(polar(lat0, lon0, h0), c);
    ASSERT_NEAR(c.GetXCoordinateInMeters(), x, 1e-6) << i;
    ASSERT_NEAR(c.GetYCoordinateInMeters(), y, 1e-6) << i;
    ASSERT_NEAR(c.GetZCoordinateInMeters(), z, 1e-6) << i;

    c.Set(x, y, z);
    earth.Convert(c, p);
    if (p.GetUpDownAngleInDegrees() == 0.0 &&
        p.GetLeftRightAngleInDegrees() == 0.0 &&
        p.GetDistanceFromSurfaceInMeters() == 0.0) {
      ++given_up;
      continue;
    }
    if (std::fabs(lat0) > 45.0001) ++near_pole;  // height from Z / sin phi
    ASSERT_NEAR(p.GetUpDownAngleInDegrees(), lat0, 1e-9) << i;
    ASSERT_LT(angle_gap(p.GetLeftRightAngleInDegrees(), lon0), 1e-9) << i;
    ASSERT_NEAR(p.GetDistanceFromSurfaceInMeters(), h0, 1e-6) << i;
  }
  EXPECT_LT(given_up, n / 100);
  EXPECT_GT(near_pole, n / 4);
  // A sphere chosen after an ellipsoid, both ways: the pole lies at the radius.
  for (bool by_id : {true, false}) {
    earth.SetEllipsoidByRadii(6378388.0, 6356911.946128);
    by_id ? earth.SetEllipsoid(CEarth::Perfect_Sphere)
          : earth.SetEllipsoidByEquatorialRadiusAndFlattening(6378137.0, 0);
    earth.Convert(polar(90, 0), c);
    EXPECT_NEAR(c.GetZCoordinateInMeters(), 6378137.0, 1e-6) << by_id;
  }
}

// Every iteration ends for any input: a grid of awkward values (poles, the
// 180 meridian, near-antipodes, huge numbers, infinities, NaN) through the
// inverse and direct problems and the conversions. The test's time limit
// catches a loop that does not end; the grid also runs under the sanitizers.
TEST(Bounded, AwkwardInputsReturn) {
  const double values[] = {0,    0.5,   -90,    90,  179.5, 180, -180,
                           1000, 1e300, -1e308, inf, -inf,  NAN, 1e-300};
  CEarth earth(CEarth::WGS_84);
  int settled = 0;
  for (double lat1 : values)
    for (double lon1 : values)
      for (double lat2 : values)
        for (double lon2 : values)
          settled += std::isfinite(inverse(earth, lat1, lon1, lat2, lon2).s);
  EXPECT_GT(settled, 0);
  for (double lat : values)
    for (double dist : {0.0, 1e7, 2e7, 1e300, inf, double(NAN)})
      for (double dir : values) {
        CPolarCoordinate end;
        earth.AddSurfaceDistanceAndDirectionToCoordinate(polar(lat, 10), dist,
                                                         dir, end);
        CEarthCoordinate c;
        earth.Convert(polar(lat, dir, dist), c);
        earth.Convert(c, end);
      }
}

}  // namespace
