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
      {13, "Helmert_1906", 6378200.0, 298.3},
      {14, "Hough", 6378270.0, 297.0},
      {15, "International", 6378388.0, 297.0},
      {16, "Krassovsky", 6378245.0, 298.3},
      {17, "Modified_Airy", 6377340.189, 299.3249646},
      {18, "Modified_Everest", 6377304.063, 300.8017},
      {19, "Modified_Fischer_1960", 6378155.0, 298.3},
      {20, "South_American_1969", 6378160.0, 298.25},
      {21, "Topex_Poseidon_Pathfinder_ITRF", 6378136.3, 298.257},
      {22, "WGS_60", 6378165.0, 298.3},
      {23, "WGS_66", 6378145.0, 298.25},
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

// Vincenty's iteration on the longitude difference lambda, run to the pass
// limit of 200 without any shortcut; the azimuth at point 1 and the passes
// made. Evaluated in the earth model's order, so that bits can be compared.
std::pair<double, int> azimuth_at_pass_limit(double lat1, double lon1,
                                             double lat2, double lon2,
                                             double f) {
  const double k = 0.017453292519943295, r = 1 - f, l1 = lon1 * k,
               l2 = lon2 * k;
  const double tan_u1 = r * std::sin(lat1 * k) / std::cos(lat1 * k);
  const double tan_u2 = r * std::sin(lat2 * k) / std::cos(lat2 * k);
  const double cos_u1 = 1 / std::sqrt(tan_u1 * tan_u1 + 1),
               sin_u1 = cos_u1 * tan_u1,
               cos_u2 = 1 / std::sqrt(tan_u2 * tan_u2 + 1);
  const double cc = cos_u1 * cos_u2, cs = cc * tan_u2, ss = cs * tan_u1;
  double lambda = l2 - l1, previous, t1, t2;
  int pass = 0;
  do {
    t1 = cos_u2 * std::sin(lambda);
    t2 = cs - sin_u1 * cos_u2 * std::cos(lambda);
    const double sin_s = std::sqrt(t1 * t1 + t2 * t2),
                 cos_s = cc * std::cos(lambda) + ss,
                 sigma = std::atan2(sin_s, cos_s);
    const double sin_a = cc * std::sin(lambda) == 0 && sin_s == 0
                             ? 1 : cc * std::sin(lambda) / sin_s;
    const double cos2_a = 1 - sin_a * sin_a;
    const double cos_2sm = cos2_a > 0 ? -2 * ss / cos2_a + cos_s : 2 * ss;
    const double e = 2 * (cos_2sm * cos_2sm) - 1;
    const double c = ((-3 * cos2_a + 4) * f + 4) * cos2_a * f / 16;
    previous = lambda;
    lambda = ((c * (e * cos_s) + cos_2sm) * sin_s * c + sigma) * sin_a *
                 (1 - c) * f + l2 - l1;
  } while (std::fabs(previous - lambda) > 2.22507e-16 && ++pass < 200);
  const double az = std::atan2(t1, t2) * 57.29577951308232;
  return {az < 0 ? az + 360 : az, pass};
}

// Some pairs far apart in longitude alternate between two values of lambda
// for ever; the earth model stops once it sees the repeat, on the state the
// pass limit would end with.
TEST(Inverse, AlternatingPairsEndAsAtThePassLimit) {
  const CEarth earth(CEarth::WGS_84);
  const double a = earth.GetEquatorialRadiusInMeters();
  const double f = (a - earth.GetPolarRadiusInMeters()) / a;
  std::mt19937_64 rng(20261123);
  std::uniform_real_distribution<double> lat(-89.0, 89.0), lon(-180.0, 180.0);
  int alternating = 0;
  for (int n = 0; n < 20000; ++n) {
    const double la1 = lat(rng), lo1 = lon(rng), la2 = lat(rng), lo2 = lon(rng);
    const auto [az, passes] =
        azimuth_at_pass_limit(la1, lo1, la2, lo2, f);
    if (passes < 200) continue;
    ++alternating;
    EXPECT_EQ(inverse(earth, la1, lo1, la2, lo2).az1, az) << la1 << " " << lo1;
  }
  EXPECT_GE(alternating, 5);
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

// Straight lines on a sphere: the chord 2a sin(0.5 deg) between two surface
// points one degree apart (both ways), the rule-of-thumb horizon sqrt(17 h)
// km, and the height of a 3-4-5 triangle over its hypotenuse (Heron). The
// overloads on earth-centred points convert and use the polar ones.
TEST(LineOfSight, ChordHorizonCourseAndEarthCentredOverloads) {
  CEarth sphere(CEarth::Perfect_Sphere);
  const double chord = 2.0 * 6378137.0 * std::sin(0.5 * 0.017453292519943295);
  EXPECT_NEAR(sphere.GetLineOfSightDistance(polar(0, 10), polar(0, 11)), chord,
              1e-6);
  CPolarCoordinate end;
  sphere.AddLineOfSightDistanceAndDirectionToCoordinate(polar(0, 10), chord, 90,
                                                        end, 0);
  EXPECT_NEAR(end.GetLeftRightAngleInDegrees(), 11.0, 1e-9);
  CEarthCoordinate e10, e11, out;
  sphere.Convert(polar(0, 10), e10), sphere.Convert(polar(0, 11), e11);
  EXPECT_NEAR(sphere.GetSurfaceDistance(e10, e11), 111319.491, 1e-3);
  sphere.AddSurfaceDistanceAndDirectionToCoordinate(e10, 111319.491, 90, out);
  EXPECT_NEAR(out.GetYCoordinateInMeters(), e11.GetYCoordinateInMeters(), 1e-3);
  CEarthCoordinate high, here, a, b;
  sphere.Convert(polar(10, 10, 100.0), high);
  EXPECT_NEAR(sphere.GetDistanceToHorizon(high), std::sqrt(1700.0), 1e-6);
  a.Set(3, 0, 0), b.Set(0, 4, 0);
  EXPECT_DOUBLE_EQ(sphere.GetLineOfSightDistanceFromCourse(here, a, b), 2.4);
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
