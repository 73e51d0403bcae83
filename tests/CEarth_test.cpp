// Earth model: ellipsoid selection, inverse and direct problems,
// conversions and line-of-sight services, with a cross-check against
// GeographicLib on seeded random points.

#include "GFC.h"

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/Geodesic.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

// Exposes the derived ellipsoid quantities.
class OpenEarth : public CEarth {
 public:
  using CEarth::CEarth;
  double f() const { return m_Flattening; }
  double e2() const { return m_EccentricitySquared; }
};

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
Inverse inverse(const CEarth& earth, double lat1, double lon1, double lat2, double lon2) {
  Inverse r{};
  r.s = earth.GetSurfaceDistance(polar(lat1, lon1), polar(lat2, lon2), &r.az1, &r.az2);
  return r;
}

TEST(Ellipsoid, TableAndCustomSetters) {
  const struct {
    int id;
    const char* name;
    double a, b, inverse_f;
  } rows[] = {
      {CEarth::WGS_84, "WGS_84", 6378137.0, 6356752.314245179, 298.2572236},
      {CEarth::GRS_1980, "GRS_1980", 6378137.0, 6356752.31414, 298.2572221},
      {CEarth::Austrailian_National, "Austrailian_National", 6378160.0,
       6356774.719195, 298.25},
      {CEarth::South_American_1969, "South_American_1969", 6378160.0,
       6356774.719195, 298.25},
      {CEarth::Topex_Poseidon_Pathfinder_ITRF, "Topex_Poseidon_Pathfinder_ITRF",
       6378136.3, 6356751.600562938, 298.257},
  };
  for (const auto& row : rows) {
    OpenEarth earth(row.id);
    EXPECT_STREQ(earth.GetEllipsoidName(), row.name);
    EXPECT_EQ(earth.GetEquatorialRadiusInMeters(), row.a) << row.name;
    EXPECT_EQ(earth.GetPolarRadiusInMeters(), row.b) << row.name;
    EXPECT_NEAR(1.0 / earth.f(), row.inverse_f, 1e-6) << row.name;
  }
  OpenEarth custom(CEarth::WGS_84);
  const double wgs_f = custom.f();
  custom.SetEllipsoidByRadii(0.0, 6000000.0);  // keeps the flattening
  EXPECT_EQ(custom.f(), wgs_f);
  custom.SetEllipsoidByRadii(6378137.0, 6378137.0);
  EXPECT_STREQ(custom.GetEllipsoidName(), "Custom");
  EXPECT_EQ(custom.e2(), 0.0);
  custom.SetEllipsoidByEquatorialRadiusAndFlattening(6378137.0, 0.01);
  EXPECT_EQ(custom.GetPolarRadiusInMeters(), 6378137.0 - 6378137.0 * 0.01);
  EXPECT_EQ(custom.e2(), 0.02 - 0.01 * 0.01);
}

TEST(Ellipsoid, OutOfRangeSelectsUnknown) {
  for (int id : {0, 26, -1}) {
    OpenEarth earth(CEarth::WGS_84);
    earth.SetEllipsoid(id);
    EXPECT_STREQ(earth.GetEllipsoidName(), "Unknown") << id;
    EXPECT_TRUE(earth.GetEquatorialRadiusInMeters() == 0.0 &&
                earth.GetPolarRadiusInMeters() == 0.0 && earth.f() == 0.0);
  }
  // Zero distance, spherical headings.
  Inverse u = inverse(CEarth(CEarth::Unknown), 0, 0, 0, 1);
  EXPECT_EQ(u.s, 0.0);
  EXPECT_DOUBLE_EQ(u.az1, 90.0);
  EXPECT_DOUBLE_EQ(u.az2, 270.0);
}

TEST(Inverse, ReferenceCasesOnWgs84) {
  const CEarth earth(CEarth::WGS_84);
  const struct {
    double lat1, lon1, lat2, lon2, s, az1, az2;
  } cases[] = {
      {0, 0, 0, 1, 111319.491, 90, 270},
      {0, 0, 1, 0, 110574.389, 0, 180},
      {50, 10, 60, 10, 1113225.778, 0, 180},
      {60, 10, 50, 10, 1113225.778, 180, 360},
      {67.8, 20.4, 59.0, 18.0, 988026.335, 188.0553159, 5.9029351},
      {0, 0, 0, 0, 0, 0, 180},
  };
  for (const auto& c : cases) {
    Inverse r = inverse(earth, c.lat1, c.lon1, c.lat2, c.lon2);
    EXPECT_NEAR(r.s, c.s, 5e-4) << c.lat1 << "," << c.lon1;
    EXPECT_NEAR(r.az1, c.az1, 5e-8) << c.lat1 << "," << c.lon1;
    EXPECT_NEAR(r.az2, c.az2, 5e-8) << c.lat1 << "," << c.lon1;
  }
  // Null heading pointers: distance only.
  EXPECT_NEAR(earth.GetSurfaceDistance(polar(0, 0), polar(0, 1)), 111319.491,
              5e-4);
}

TEST(Inverse, SphereAndNonConvergingPairs) {
  const CEarth sphere(CEarth::Perfect_Sphere);
  EXPECT_NEAR(inverse(sphere, 0, 0, 0, 1).s, 111319.491, 5e-4);

  // Nearly antipodal: the iteration never settles; the pass limit ends it
  // with finite values.
  Inverse r = inverse(CEarth(CEarth::WGS_84), 0, 0, 0.5, 179.5);
  EXPECT_TRUE(std::isfinite(r.s));
  EXPECT_GT(r.s, 19e6);

  // A non-number ends the loop and comes out in the results.
  EXPECT_TRUE(std::isnan(inverse(CEarth(CEarth::WGS_84), NAN, 0, 1, 1).s));
}

// The plain iteration of the inverse problem, run to the pass limit without
// any shortcut: the reference for pairs whose passes alternate for ever.
struct PlainInverse {
  double distance, heading_12, heading_21;
  int passes;
};
PlainInverse plain_inverse(double lat1, double lon1, double lat2, double lon2,
                           double a, double f) {
  const double k = 0.017453292519943295, phi1 = lat1 * k, l1 = lon1 * k,
               phi2 = lat2 * k, l2 = lon2 * k, r = 1.0 - f;
  const double t1 = r * std::sin(phi1) / std::cos(phi1);
  const double t2 = r * std::sin(phi2) / std::cos(phi2);
  const double c1 = 1.0 / std::sqrt(t1 * t1 + 1.0), s1 = c1 * t1;
  const double c2 = 1.0 / std::sqrt(t2 * t2 + 1.0);
  const double s = c1 * c2, B = s * t2, F = B * t1;
  double x = l2 - l1, d, sx, cx, T1, T2, sy, cy, y, sa, c2a, cz, e, c;
  int pass = 0;
  do {
    sx = std::sin(x);
    cx = std::cos(x);
    T1 = c2 * sx;
    T2 = B - s1 * c2 * cx;
    sy = std::sqrt(T1 * T1 + T2 * T2);
    cy = s * cx + F;
    y = std::atan2(sy, cy);
    sa = (s * sx == 0.0 && sy == 0.0) ? 1.0 : s * sx / sy;
    c2a = 1.0 - sa * sa;
    cz = 2.0 * F;
    if (c2a > 0.0) cz = -2.0 * F / c2a + cy;
    e = 2.0 * (cz * cz) - 1.0;
    c = ((-3.0 * c2a + 4.0) * f + 4.0) * c2a * f / 16.0;
    d = x;
    x = ((c * (e * cy) + cz) * sy * c + y) * sa * (1.0 - c) * f + l2 - l1;
  } while (std::fabs(d - x) > 2.22507e-16 && ++pass < 200);
  double h12 = std::atan2(T1, T2) * 57.29577951308232;
  if (h12 < 0.0) h12 += 360.0;
  double h21 = (std::atan2(c1 * sx, B * cx - s1 * c2) + 3.141592653589793) *
               57.29577951308232;
  if (h21 < 0.0) h21 += 360.0;
  double X = std::sqrt((1.0 / r / r - 1.0) * c2a + 1.0) + 1.0;
  X = (X - 2.0) / X;
  const double C = (1.0 + X * X / 4.0) / (1.0 - X);
  const double D = (0.375 * (X * X) - 1.0) * X;
  const double S = 1.0 - e - e;
  const double dist =
      C * (y + ((((4.0 * (sy * sy) - 3.0) * S * cz * D / 6.0 - e * cy) * D / 4.0 +
                 cz) * sy * D)) * a * r;
  return {dist, h12, h21, pass};
}

// Pairs whose passes alternate between two values stop early once the
// repeat is seen, with the values the pass limit would have given.
TEST(Inverse, AlternatingPairsEndAsAtThePassLimit) {
  CEarth earth(CEarth::WGS_84);
  const double a = earth.GetEquatorialRadiusInMeters();
  const double f = std::fabs(a - earth.GetPolarRadiusInMeters()) / a;
  std::mt19937_64 rng(20261123);
  std::uniform_real_distribution<double> lat(-89.0, 89.0), lon(-180.0, 180.0);
  int alternating = 0;
  for (int n = 0; n < 20000; ++n) {
    const double la1 = lat(rng), lo1 = lon(rng), la2 = lat(rng), lo2 = lon(rng);
    const PlainInverse ref = plain_inverse(la1, lo1, la2, lo2, a, f);
    if (ref.passes < 200) continue;
    ++alternating;
    const Inverse r = inverse(earth, la1, lo1, la2, lo2);
    EXPECT_EQ(r.s, ref.distance);
    EXPECT_EQ(r.az1, ref.heading_12);
    EXPECT_EQ(r.az2, ref.heading_21);
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

TEST(Direct, InvertsTheReferenceCases) {
  CEarth earth(CEarth::WGS_84);
  const struct {
    double lat1, lon1, s, az, lat2, lon2;
  } cases[] = {
      {0, 0, 111319.491, 90, 0, 1},
      {50, 10, 1113225.778, 0, 60, 10},
      {67.8, 20.4, 988026.335, 188.0553159, 59.0, 18.0},
      {33.3, -44.4, 0.0, 123, 33.3, -44.4},
  };
  for (const auto& c : cases) {
    CPolarCoordinate end = polar(0, 0, 7.0);
    earth.AddSurfaceDistanceAndDirectionToCoordinate(polar(c.lat1, c.lon1),
                                                     c.s, c.az, end);
    EXPECT_NEAR(end.GetUpDownAngleInDegrees(), c.lat2, 1e-8);
    EXPECT_NEAR(end.GetLeftRightAngleInDegrees(), c.lon2, 1e-8);
    EXPECT_EQ(end.GetDistanceFromSurfaceInMeters(), 7.0);  // left alone
  }

  // Line-of-sight variant on a sphere: the chord 2a sin(0.5 deg) between
  // two surface points is the arc of one degree.
  CEarth sphere(CEarth::Perfect_Sphere);
  CPolarCoordinate end;
  sphere.AddLineOfSightDistanceAndDirectionToCoordinate(
      polar(0, 0), 2.0 * 6378137.0 * std::sin(0.5 * 0.017453292519943295), 90, end, 0);
  EXPECT_NEAR(end.GetUpDownAngleInDegrees(), 0.0, 1e-12);
  EXPECT_NEAR(end.GetLeftRightAngleInDegrees(), 1.0, 1e-9);
}

TEST(Direct, MatchesGeographicLibOnRandomStarts) {
  CEarth earth(CEarth::WGS_84);
  const GeographicLib::Geodesic& reference = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(7u);
  std::uniform_real_distribution<double> lat(-89.9, 89.9), lon(-180, 180),
      az(0, 360), s(0, 1.5e7);
  for (int i = 0; i < 2000; ++i) {
    const double lat1 = lat(rng), lon1 = lon(rng), azi = az(rng), s12 = s(rng);
    double lat2, lon2;
    reference.Direct(lat1, lon1, azi, s12, lat2, lon2);
    CPolarCoordinate end;
    earth.AddSurfaceDistanceAndDirectionToCoordinate(polar(lat1, lon1), s12,
                                                     azi, end);
    ASSERT_NEAR(end.GetUpDownAngleInDegrees(), lat2, 1e-8) << i;
    ASSERT_LT(angle_gap(end.GetLeftRightAngleInDegrees(), lon2), 1e-8) << i;
  }
}

TEST(Convert, FixedPointsAndGeographicLib) {
  const CEarth earth(CEarth::WGS_84);
  CEarthCoordinate c;
  const struct {
    double lat, lon, x, y, z;
  } fixed[] = {{0, 0, 6378137.0, 0, 0},
               {90, 0, 0, 0, 6356752.314245179},
               {0, 90, 0, 6378137.0, 0}};
  for (const auto& f : fixed) {
    earth.Convert(polar(f.lat, f.lon), c);
    EXPECT_NEAR(c.GetXCoordinateInMeters(), f.x, 1e-6) << f.lat << "," << f.lon;
    EXPECT_NEAR(c.GetYCoordinateInMeters(), f.y, 1e-9) << f.lat << "," << f.lon;
    EXPECT_NEAR(c.GetZCoordinateInMeters(), f.z, 1e-6) << f.lat << "," << f.lon;
  }

  CPolarCoordinate p;
  c.Set(0, 0, 6400000.0);
  earth.Convert(c, p);
  EXPECT_EQ(p.GetUpDownAngleInDegrees(), 90.0);
  EXPECT_EQ(p.GetLeftRightAngleInDegrees(), 0.0);

  const GeographicLib::Geocentric& reference =
      GeographicLib::Geocentric::WGS84();
  std::mt19937_64 rng(99u);
  std::uniform_real_distribution<double> lat(-90, 90), lon(-180, 180),
      h(-100, 10000);
  int given_up = 0, near_pole = 0;
  const int n = 4000;
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
      ++given_up;  // the iteration alternated and was abandoned
      continue;
    }
    if (std::fabs(lat0) > 45.0001) ++near_pole;  // height from Z / sin phi
    ASSERT_NEAR(p.GetUpDownAngleInDegrees(), lat0, 1e-9) << i;
    ASSERT_LT(angle_gap(p.GetLeftRightAngleInDegrees(), lon0), 1e-9) << i;
    ASSERT_NEAR(p.GetDistanceFromSurfaceInMeters(), h0, 1e-6) << i;
  }
  EXPECT_LT(given_up, n / 100);
  EXPECT_GT(near_pole, n / 4);
}

TEST(LineOfSight, ChordHorizonAndCourse) {
  const CEarth earth(CEarth::WGS_84);
  // Polar overloads go through Convert: a chord along the equator.
  EXPECT_NEAR(earth.GetLineOfSightDistance(polar(0, 0), polar(0, 90)),
              6378137.0 * std::sqrt(2.0), 1e-6);

  EXPECT_NEAR(earth.GetDistanceToHorizon(polar(10, 10, 100.0)), 41.23, 5e-3);
  CEarthCoordinate high;
  earth.Convert(polar(10, 10, 100.0), high);
  EXPECT_NEAR(earth.GetDistanceToHorizon(high), std::sqrt(1700.0), 1e-6);

  CEarthCoordinate here, a, b;
  a.Set(3, 0, 0), b.Set(0, 4, 0);
  EXPECT_DOUBLE_EQ(earth.GetLineOfSightDistanceFromCourse(here, a, b), 2.4);
  // On the course the radicand is 0 or slightly negative.
  here.Set(1.5, 2, 0);
  const double on = earth.GetLineOfSightDistanceFromCourse(here, a, b);
  EXPECT_TRUE(on == 0.0 || std::isnan(on)) << on;
}

// Overloads on earth-centred points reach the polar versions through the
// virtual table.
class CountingEarth : public CEarth {
 public:
  CountingEarth() : CEarth(WGS_84) {}
  mutable int surface = 0;
  int direct = 0;
  using CEarth::AddSurfaceDistanceAndDirectionToCoordinate;
  using CEarth::GetSurfaceDistance;
  double GetSurfaceDistance(const CPolarCoordinate& p1, const CPolarCoordinate& p2,
                            double* h1, double* h2) const override {
    return ++surface, CEarth::GetSurfaceDistance(p1, p2, h1, h2);
  }
  void AddSurfaceDistanceAndDirectionToCoordinate(const CPolarCoordinate& p1, double s,
                                                  double az, CPolarCoordinate& p2) override {
    ++direct, CEarth::AddSurfaceDistanceAndDirectionToCoordinate(p1, s, az, p2);
  }
};

TEST(Delegation, EarthCentredOverloadsUseThePolarVersions) {
  CountingEarth earth;
  CEarthCoordinate e1, e2, out;
  CPolarCoordinate polar_out;
  earth.Convert(polar(50, 10), e1), earth.Convert(polar(60, 10), e2);
  double az1 = -1, az2 = -1;
  EXPECT_NEAR(earth.GetSurfaceDistance(e1, e2, &az1, &az2), 1113225.778, 5e-4);
  EXPECT_NEAR(az2, 180.0, 1e-9);
  earth.GetSurfaceDistance(e1, polar(60, 10));
  earth.GetSurfaceDistance(polar(50, 10), e2);
  EXPECT_EQ(earth.surface, 3);

  earth.AddSurfaceDistanceAndDirectionToCoordinate(e1, 1113225.778, 0, out);
  EXPECT_NEAR(out.GetZCoordinateInMeters(), e2.GetZCoordinateInMeters(), 1e-3);
  earth.AddSurfaceDistanceAndDirectionToCoordinate(e1, 1e3, 0, polar_out);
  earth.AddSurfaceDistanceAndDirectionToCoordinate(polar(50, 10), 1e3, 0, out);
  earth.AddLineOfSightDistanceAndDirectionToCoordinate(polar(50, 10), 1e3, 0,
                                                       polar_out, 0);
  EXPECT_EQ(earth.direct, 4);
}

// Every iteration ends for any input: a grid of awkward values (poles, the
// 180 meridian, near-antipodes, huge numbers, infinities, NaN) through the
// inverse and direct problems and the conversions. The test's time limit
// catches a loop that does not end; the grid also runs under the sanitizers.
TEST(Bounded, AwkwardInputsReturn) {
  const double inf = std::numeric_limits<double>::infinity();
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
