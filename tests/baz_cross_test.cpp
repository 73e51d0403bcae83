// Back-azimuth crossing method and its distance routines.

#include "norsar/baz_cross.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Depi {
  double deld, delk, azid, bazd, d2km;
};
Depi run_depi(double rlat, double rlon, double elat, double elon) {
  Depi d{};
  depi(rlat, rlon, elat, elon, d.deld, d.delk, d.azid, d.bazd, d.d2km);
  return d;
}

struct Cross {
  double lat, lat_sd, lon, lon_sd;
  int ierr;
};
Cross cross(double rlat1, double rlon1, double rlat2, double rlon2,
            double baz1, double sbaz1, double baz2, double sbaz2) {
  Cross c{};
  baz_cross(rlat1, rlon1, rlat2, rlon2, baz1, sbaz1, baz2, sbaz2, c.lat,
            c.lat_sd, c.lon, c.lon_sd, c.ierr);
  return c;
}
// The sample pair with the given bearings.
Cross sample(double baz1, double baz2) {
  return cross(67.8, 20.4, 64.0, 14.0, baz1, 0.1, baz2, 0.1);
}

// ---------------------------------------------------------------------- depi

TEST(Depi, CoincidentPointsPolesAndMeridians) {
  // Coincident within 1e-6 degrees: nothing but the local radius.
  Depi d = run_depi(10, 20, 10 + 5e-7, 20 - 5e-7);
  EXPECT_TRUE(d.deld == 0 && d.delk == 0 && d.bazd == 0 && d.azid == 0);
  EXPECT_EQ(d.d2km, radloc_geographic(10) * 0.017453292519943295);

  // Same and opposite meridians, then the four pole cases with their literal
  // azimuths (deld: NaN where not checked).
  const double colat40 = 90 - convlat_geographic2geocentric(40);
  const struct {
    double rlat, rlon, elat, elon, deld, bazd, azid;
  } rows[] = {
      {60, 10, 50, 10, nan, 180, 0},   // E south of R
      {50, 10, 60, 10, nan, 0, 0},     // E north of R
      {60, 0, 60, 180, 2 * (90 - convlat_geographic2geocentric(60)), 0, 0},
      {-60, 0, -60, 180, nan, 180, 180},
      {40, 25, -90, 0, 180 - colat40, 180, 25},  // E at the south pole
      {40, 25, 90, 0, colat40, 155, 0},          // E at the north pole
      {90, 0, 40, 25, colat40, 155, 0},          // R at the north pole
      {-90, 0, 40, -25, 180 - colat40, 335, 180},  // R at the south pole
  };
  for (const auto& r : rows) {
    d = run_depi(r.rlat, r.rlon, r.elat, r.elon);
    if (!std::isnan(r.deld)) {
      EXPECT_NEAR(d.deld, r.deld, 1e-9) << r.rlat;
    }
    EXPECT_EQ(d.bazd, r.bazd) << r.rlat << " " << r.elat;
    EXPECT_EQ(d.azid, r.azid) << r.rlat << " " << r.elat;
  }
}

TEST(Depi, WalkStepAndItsBounds) {
  const std::pair<double, double> steps[] = {
      {180, 0.9},       {100, 0.5},   {99.5, 0.995},         {10.5, 0.105},
      {10, 10.0 / 15},  {0.06, 0.06 / 15}, {0.05, 0}, {0, 0}};
  for (const auto& [range, step] : steps)
    EXPECT_EQ(depi_walk_step(range), step) << range;
  EXPECT_TRUE(std::isnan(depi_walk_step(nan)));

  // A range up to 0.05 takes the radius at R.
  Depi d = run_depi(45, 10, 45.02, 10.02);
  ASSERT_LE(d.deld, 0.05);
  EXPECT_EQ(d.d2km, radloc_geographic(45) * 0.017453292519943295);
  EXPECT_EQ(d.delk, d.d2km * d.deld);

  // Inputs that are not numbers or are huge end the walk.
  d = run_depi(nan, 10, 20, 30);
  EXPECT_TRUE(std::isnan(d.deld) && std::isnan(d.d2km));
  d = run_depi(10, 1e300, 20, -1e300);  // returns, with some finite range
  EXPECT_TRUE(d.deld >= 0 && d.deld <= 180);
  Depi far = run_depi(0, 0, 0.5, 179.5);
  EXPECT_GT(far.deld, 179);
  EXPECT_TRUE(std::isfinite(far.d2km));
}

// -------------------------------------------- delazd and the small routines

TEST(Delazd, WalkKilometresPolesAndDateLine) {
  // Going out along the azimuth towards a point reaches it.
  Depi d = run_depi(67.8, 20.4, 64.0, 14.0);
  double lat, lon;
  delazd(67.8, 20.4, d.bazd, d.deld, 1, lat, lon);
  EXPECT_NEAR(lat, 64.0, 1e-9);
  EXPECT_NEAR(lon, 14.0, 1e-9);
  // In kilometres.
  delazd(67.8, 20.4, d.bazd, 500, 2, lat, lon);
  EXPECT_NEAR(run_depi(67.8, 20.4, lat, lon).delk, 500, 1.0);
  // From the poles: longitude 180 - azi (north), azi (south).
  delazd(90, 0, 30, 10, 1, lat, lon);
  EXPECT_NEAR(lat, convlat_geocentric2geographic(80), 1e-12);
  EXPECT_EQ(lon, 150);
  delazd(-90, 0, 30, 10, 1, lat, lon);
  EXPECT_NEAR(lat, convlat_geocentric2geographic(-80), 1e-12);
  EXPECT_EQ(lon, 30);
  // Westward across the date line stays in [-180, 180].
  delazd(0, -179, 270, 2, 1, lat, lon);
  EXPECT_NEAR(lon, 179, 1e-9);
}

// alpha2's edges and f2's tolerance are reached by no golden case.
TEST(SmallRoutines, Values) {
  EXPECT_EQ(alpha2(370), 10);
  EXPECT_EQ(alpha2(-10), 350);
  EXPECT_EQ(alpha2(0), 0);
  EXPECT_EQ(alpha2(360), 360);
  EXPECT_EQ(dpythag(3, -4), 5);
  EXPECT_EQ(dpythag(1e300, 1e300), 1e300 * std::sqrt(2.0));
  EXPECT_EQ(dsign(-2, 5), 2);
  EXPECT_EQ(dsign(2, -5), -2);
  EXPECT_EQ(dsign(2, 0), 2);
  auto acos_fn = [](double a) { return std::acos(a); };
  EXPECT_EQ(f2(acos_fn, 1.00004), 0);
  EXPECT_EQ(f2(acos_fn, -1.00004), std::acos(-1.0));
  EXPECT_TRUE(std::isnan(f2(acos_fn, 1.00005)));
}

// ----------------------------------------------------- crossing of bearings

// The crossing and its standard deviations; bearings turned round still
// place the source on station 1's bearing.
TEST(BazCross, WorkedExamples) {
  const struct {
    double baz1, baz2, lat, lon, lat_sd, lon_sd;
  } rows[] = {
      {111.0545, 66.3927, 66.0000, 30.0000, 0.0099, 0.0501},
      {291.0311, 66.4115, 68.6430, 13.3130, nan, nan},
  };
  for (const auto& r : rows) {
    Cross c = sample(r.baz1, r.baz2);
    EXPECT_EQ(c.ierr, 0) << r.baz1;
    EXPECT_NEAR(c.lat, r.lat, 5e-4) << r.baz1;
    EXPECT_NEAR(c.lon, r.lon, 5e-4) << r.baz1;
    if (!std::isnan(r.lat_sd)) {
      EXPECT_NEAR(c.lat_sd, r.lat_sd, 5e-5);
      EXPECT_NEAR(c.lon_sd, r.lon_sd, 5e-5);
    }
  }
}

TEST(BazCross, NoCrossingAlongTheStationLine) {
  Depi d = run_depi(67.8, 20.4, 64.0, 14.0);
  for (double b1 : {d.bazd, alpha2(d.bazd - 180)}) {
    Cross c = sample(b1, 66.4);
    EXPECT_EQ(c.ierr, 10);
    EXPECT_TRUE(std::isnan(c.lat) && std::isnan(c.lon));
    EXPECT_TRUE(std::isnan(c.lat_sd) && std::isnan(c.lon_sd));
  }
  for (double b2 : {d.azid, alpha2(d.azid - 180)})
    EXPECT_EQ(sample(111.0, b2).ierr, 10);
}

TEST(BazCross, ErrorCodesAndClipping) {
  // Two stations on the equator 10 degrees apart: ep1 = 90, ep2 = 270.
  Cross c = cross(0, 0, 0, 10, 280, 0.1, 80, 0.1);  // meet beyond 170
  EXPECT_EQ(c.ierr, 1);
  EXPECT_TRUE(std::isnan(c.lat));
  // Within a rounding error of station 2: its distance comes out 0.
  c = cross(0, 0, 0, 10, 90 + 1e-14, 0.1, 300, 0.1);
  EXPECT_EQ(c.ierr, 2);
  EXPECT_TRUE(std::isnan(c.lon));
  // Near the pole a wide bearing error spreads the longitude.
  c = cross(80, 0, 80, 90, 45, 30, 315, 30);
  EXPECT_EQ(c.ierr, -3);
  EXPECT_EQ(c.lon_sd, 180);
  EXPECT_LT(c.lat_sd, 90);
  EXPECT_NEAR(c.lon, 45, 1e-6);
  // Nearly parallel bearings spread the latitude: clipped, code kept 0.
  c = cross(0, 0, 0, 1, 0.5, 10, 359.5, 10);
  EXPECT_EQ(c.ierr, 0);
  EXPECT_EQ(c.lat_sd, 90);
  EXPECT_LT(c.lon_sd, 180);
  // Both spread: 3, not -3.
  c = cross(0, 0, 0, 1, 0.1, 300, 359.9, 300);
  EXPECT_EQ(c.ierr, 3);
  EXPECT_EQ(c.lat_sd, 90);
  EXPECT_EQ(c.lon_sd, 180);
  // Meridians meeting exactly at the north pole.
  c = cross(0, 0, 0, 90, 0, 0.1, 0, 0.1);
  EXPECT_EQ(c.ierr, 0);
  EXPECT_NEAR(c.lat, 90, 1e-12);
  EXPECT_EQ(c.lon_sd, 180);
}

// The distance routine and the whole method return for any input; the walk
// of depi is capped however large or undefined its range.
TEST(Bounded, AwkwardInputsReturn) {
  const double inf = std::numeric_limits<double>::infinity();
  const double values[] = {0, -90, 90, 180, -180, 1000, 1e300, inf, -inf, nan};
  for (double a : values)
    for (double b : values)
      for (double c : values)
        for (double d : values) {
          run_depi(a, b, c, d);
          cross(a, b, c, d, 45, 0.1, c, 0.1);
        }
}

}  // namespace
