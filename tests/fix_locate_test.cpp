// The location of vestra-fix against synthetic events made with
// GeographicLib: calibration of the 95% ellipse and origin-time interval,
// noise-free events located to within metres, and the geometries that must
// not come out as a confident fix.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "fix/locate.h"
#include "fix_synthetic.h"

namespace {

using GeographicLib::Geodesic;
using synthetic::Site;

constexpr double chi2_2_95 = 5.991464547107979;
constexpr double t0 = 1086197000.0;  // 2004-06-02T17:23:20Z

double km(const Geodesic& g, double lat1, double lon1, double lat2,
          double lon2) {
  double s12;
  g.Inverse(lat1, lon1, lat2, lon2, s12);
  return s12 / 1000.0;
}

// An event of five timed detections: latitude, longitude, back azimuth
// (degrees) and arrival time after t0 (s).
fix::Event five_detections(const double (&rows)[5][4]) {
  fix::Event e;
  for (const auto& r : rows) {
    fix::Detection d;
    d.latitude = r[0];
    d.longitude = r[1];
    d.back_azimuth = r[2];
    d.has_time = true;
    d.time = t0 + r[3];
    e.detections.push_back(d);
  }
  return e;
}

// Squared Mahalanobis distance of the true source from the fix with the
// reported covariance: inside the 95% ellipse when at most chi2_2_95.
double mahalanobis2(const Geodesic& g, const fix::Solution& s, double lat,
                    double lon) {
  double s12, azi1, azi2;
  g.Inverse(s.latitude, s.longitude, lat, lon, s12, azi1, azi2);
  const double e = s12 / 1000.0 * std::sin(azi1 * M_PI / 180.0);
  const double n = s12 / 1000.0 * std::cos(azi1 * M_PI / 180.0);
  const double ee = s.cov_en[0], en = s.cov_en[1], nn = s.cov_en[2];
  return (nn * e * e - 2.0 * en * e * n + ee * n * n) / (ee * nn - en * en);
}

// Whether the reported axes and azimuth describe the covariance: the
// ellipse's own equation at the true source agrees with mahalanobis2.
double ellipse_value(const Geodesic& g, const fix::Solution& s, double lat,
                     double lon) {
  double s12, azi1, azi2;
  g.Inverse(s.latitude, s.longitude, lat, lon, s12, azi1, azi2);
  const double rel = (azi1 - s.azimuth_deg) * M_PI / 180.0;
  const double along = s12 / 1000.0 * std::cos(rel);
  const double across = s12 / 1000.0 * std::sin(rel);
  return std::pow(along / s.semi_major_km, 2) +
         std::pow(across / s.semi_minor_km, 2);
}

// 1200 well-conditioned events (five stations, 50 to 2,000 km, spread in
// azimuth, bearings with 4 degrees of noise, times with a celerity from
// 0.22 to 0.34 km/s and 10 s of pick noise): the true source in the 95%
// ellipse and the true origin time in its 95% interval in 92% to 98% of
// them. A geometry counts as well-conditioned when its noise-free event is
// located "ok"; the noisy events are counted whatever their verdict.
TEST(FixCalibration, EllipseAndOriginTimeCover95Percent) {
  const Geodesic& g = Geodesic::WGS84();
  std::mt19937_64 rng(20261124);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  fix::Locator locator{fix::Settings{}};
  synthetic::Noise noisy{4.0, true, 10.0, 0.22, 0.34};
  synthetic::Noise exact{0.0, true, 0.0, 0.0, 0.0};
  int events = 0, in_ellipse = 0, in_interval = 0, not_ok = 0;
  std::vector<double> errors;
  for (int geometry = 0; geometry < 2000 && events < 1200; ++geometry) {
    const double lat = -70.0 + 140.0 * u(rng), lon = -180.0 + 360.0 * u(rng);
    std::vector<Site> sites;
    for (int i = 0; i < 5; ++i)
      sites.push_back({72.0 * i + 40.0 * (u(rng) - 0.5),
                       50.0 + 1950.0 * u(rng)});
    std::mt19937_64 no_noise;
    const fix::Solution clean = locator.locate(
        synthetic::make_event(g, lat, lon, t0, sites, exact, no_noise));
    if (clean.status != fix::Status::ok) continue;
    ++events;
    const fix::Solution s = locator.locate(
        synthetic::make_event(g, lat, lon, t0, sites, noisy, rng));
    ASSERT_NE(s.status, fix::Status::no_fix) << s.reason;
    not_ok += s.status != fix::Status::ok;
    const double m2 = mahalanobis2(g, s, lat, lon);
    ASSERT_NEAR(ellipse_value(g, s, lat, lon) * chi2_2_95, m2,
                1e-6 * (1.0 + m2));
    in_ellipse += m2 <= chi2_2_95;
    in_interval += std::fabs(s.origin_time - t0) <=
                   fix::normal975 * s.origin_sigma_s;
    errors.push_back(km(g, s.latitude, s.longitude, lat, lon));
  }
  ASSERT_EQ(events, 1200) << "too few well-conditioned geometries";
  std::sort(errors.begin(), errors.end());
  const double ellipse = 100.0 * in_ellipse / events;
  const double interval = 100.0 * in_interval / events;
  std::printf("coverage: ellipse %.1f%%, origin time %.1f%%; median error "
              "%.1f km; %d of %d not ok\n",
              ellipse, interval, errors[errors.size() / 2], not_ok, events);
  EXPECT_GE(ellipse, 92.0);
  EXPECT_LE(ellipse, 98.0);
  EXPECT_GE(interval, 92.0);
  EXPECT_LE(interval, 98.0);
  EXPECT_LT(not_ok, events / 10);
}

struct NoiseFreeCase {
  const char* name;
  double lat, lon;
  std::vector<Site> sites;
  bool times;
  int ellipsoid;  // 25 WGS 84, 1 the sphere of radius 6378.137 km
  double sigma0 = 0.0;  // the first detection's own sigma, degrees
};

// Exact bearings (and times at the mean celerity) locate the source to
// within metres and the origin time to within milliseconds, with residuals
// of zero, wherever the source is, also with one bearing of a very small
// sigma, which dominates the fit.
TEST(FixLocate, NoiseFreeEventsWithinMetres) {
  const std::vector<NoiseFreeCase> cases = {
      {"five stations with times", 48.0, 11.0,
       {{10, 300}, {100, 800}, {170, 150}, {250, 1200}, {320, 600}}, true, 25},
      {"two bearings", 66.0, 30.0, {{-60, 400}, {230, 500}}, false, 25},
      {"antimeridian", -17.0, 179.95,
       {{60, 500}, {140, 900}, {240, 400}, {300, 700}}, true, 25},
      {"near the north pole", 89.7, -40.0,
       {{0, 600}, {120, 700}, {240, 500}}, true, 25},
      {"near the south pole", -89.95, 100.0,
       {{30, 800}, {150, 300}, {270, 1000}}, false, 25},
      {"on the sphere", 35.0, -120.0, {{0, 400}, {120, 500}, {240, 600}}, true,
       1},
      {"one bearing of 0.001 degrees", 50.0, 5.0,
       {{0, 400}, {120, 500}, {240, 600}, {300, 300}}, false, 25, 0.001},
  };
  for (const NoiseFreeCase& c : cases) {
    SCOPED_TRACE(c.name);
    const Geodesic g = c.ellipsoid == 1 ? Geodesic(6378137.0, 0.0)
                                         : Geodesic::WGS84();
    fix::Settings settings;
    settings.ellipsoid = c.ellipsoid;
    fix::Locator locator(settings);
    std::mt19937_64 rng;
    fix::Event e = synthetic::make_event(g, c.lat, c.lon, t0, c.sites,
                                         {0.0, c.times, 0.0, 0.0, 0.0}, rng);
    e.detections[0].sigma = c.sigma0;
    const fix::Solution s = locator.locate(e);
    ASSERT_EQ(s.status, fix::Status::ok) << s.reason;
    EXPECT_LT(km(g, s.latitude, s.longitude, c.lat, c.lon), 0.005);
    EXPECT_LE(std::fabs(s.longitude), 180.0);
    EXPECT_EQ(s.has_origin, c.times);
    if (c.times) {
      EXPECT_NEAR(s.origin_time, t0, 1e-3);
    }
    for (const fix::DetectionFit& d : s.detections) {
      EXPECT_TRUE(d.used);
      EXPECT_NEAR(d.residual_deg, 0.0, 1e-4);
    }
  }
}

// Bearings that nearly coincide, or stations all on one side far away,
// cannot constrain the source: never "ok" with a small ellipse.
TEST(FixLocate, PoorGeometryIsNeverOk) {
  const Geodesic& g = Geodesic::WGS84();
  const std::vector<std::vector<Site>> geometries = {
      {{0, 500}, {3, 900}},                 // crossing at about 3 degrees
      {{0, 500}, {180, 800}},               // on one line, either side
      {{10, 3000}, {12, 3100}, {14, 3200}}, // a distant cluster
      {{0, 800}, {178, 400}, {1, 1200}},
  };
  fix::Locator locator{fix::Settings{}};
  std::mt19937_64 rng(5);
  for (const auto& sites : geometries) {
    for (int k = 0; k < 20; ++k) {
      const fix::Solution s = locator.locate(
          synthetic::make_event(g, 40.0, 60.0, t0, sites, {4.0}, rng));
      EXPECT_NE(s.status, fix::Status::ok)
          << sites.size() << " stations, first at " << sites[0].distance_km
          << " km: " << s.semi_major_km << " km";
      if (s.status == fix::Status::no_fix) {
        EXPECT_FALSE(s.reason.empty());
      }
    }
  }
}

// A wild bearing among five exact detections is set aside and the fix is
// that of the others: far off, it is left out of the start; closer (16
// degrees, four sigma), the fit sets it aside. The wild one is the farthest
// station's, whose bearing weighs least. (Wild times: GrossTimeErrorSetAside.)
TEST(FixLocate, WildDetectionSetAside) {
  const Geodesic& g = Geodesic::WGS84();
  fix::Locator locator{fix::Settings{}};
  std::mt19937_64 rng;
  for (const double wild : {25.0, -60.0, 150.0, 16.0}) {
    SCOPED_TRACE(testing::Message() << wild << " deg");
    fix::Event e = synthetic::make_event(
        g, -33.0, 151.0, t0,
        {{0, 400}, {70, 700}, {220, 300}, {150, 900}, {290, 500}},
        {0.0, true, 0.0, 0.0, 0.0}, rng);
    e.detections[3].back_azimuth += wild;
    const fix::Solution s = locator.locate(e);
    ASSERT_EQ(s.status, fix::Status::ok) << s.reason;
    EXPECT_LT(km(g, s.latitude, s.longitude, -33.0, 151.0), 0.005);
    EXPECT_NEAR(s.origin_time, t0, 1e-3);
    for (std::size_t i = 0; i < s.detections.size(); ++i)
      EXPECT_EQ(s.detections[i].used, i != 3) << "detection " << i;
    EXPECT_NEAR(s.detections[3].residual_deg, wild, 1e-3);
  }
}

// One arrival time wrong by a gross amount (an hour, a wrong time zone, a
// wrong day or year) at any of four stations with exact bearings and times:
// the time is checked against the others at the bearings' start and set
// aside before it can drag the fit away, and the fix is exact.
TEST(FixLocate, GrossTimeErrorSetAside) {
  const Geodesic& g = Geodesic::WGS84();
  fix::Locator locator{fix::Settings{}};
  const double hour = 3600.0, day = 86400.0;
  const double errors[] = {hour,      -hour,    -2 * hour, -4 * hour,
                           12 * hour, -12 * hour, day,     -day,
                           365 * day, 5.5 * hour};
  for (std::size_t wrong = 0; wrong < 4; ++wrong) {
    for (const double error : errors) {
      SCOPED_TRACE(testing::Message() << "detection " << wrong << " off by "
                                      << error << " s");
      std::mt19937_64 rng;
      fix::Event e = synthetic::make_event(
          g, 47.0, 8.0, t0, {{20, 300}, {110, 800}, {200, 500}, {290, 1500}},
          {0.0, true, 0.0, 0.0, 0.0}, rng);
      e.detections[wrong].time += error;
      const fix::Solution s = locator.locate(e);
      ASSERT_EQ(s.status, fix::Status::ok) << s.reason;
      EXPECT_LT(km(g, s.latitude, s.longitude, 47.0, 8.0), 0.005);
      EXPECT_NEAR(s.origin_time, t0, 1e-3);
      for (std::size_t i = 0; i < s.detections.size(); ++i)
        EXPECT_EQ(s.detections[i].used, i != wrong) << "detection " << i;
      EXPECT_NEAR(s.detections[wrong].residual_s, error, 1e-2);
    }
  }
}

// A day of detections read as one event: 2,000 detections at 40 stations,
// half of them clutter (random bearings and times). The start crosses a
// bounded sample of pairs; the outlier rounds set the clutter aside by
// halves. The fix lies near the source and the source in its ellipse, the
// clutter is set aside and the source's detections used.
TEST(FixLocate, LargeEventWithClutter) {
  const Geodesic& g = Geodesic::WGS84();
  std::mt19937_64 rng(2000);
  std::vector<bool> clutter;
  const fix::Event e = synthetic::make_cluttered_event(
      g, 52.0, 21.0, t0, 2000, 40, 0.5, {4.0, true, 10.0, 0.22, 0.34}, rng,
      &clutter);
  fix::Locator locator{fix::Settings{}};
  const fix::Solution s = locator.locate(e);
  ASSERT_EQ(s.status, fix::Status::ok) << s.reason;
  EXPECT_LT(km(g, s.latitude, s.longitude, 52.0, 21.0), 10.0);
  EXPECT_LE(mahalanobis2(g, s, 52.0, 21.0), chi2_2_95);
  EXPECT_NEAR(s.origin_time, t0, 60.0);
  std::size_t clutter_used = 0, source_unused = 0, n_clutter = 0;
  for (std::size_t i = 0; i < e.detections.size(); ++i) {
    n_clutter += clutter[i];
    clutter_used += clutter[i] && s.detections[i].used;
    source_unused += !clutter[i] && !s.detections[i].used;
  }
  EXPECT_LT(clutter_used, n_clutter / 20);
  EXPECT_LT(source_unused, (e.detections.size() - n_clutter) / 50);
  // 50 detections per station: all pairs but those from one station.
  EXPECT_EQ(s.pairs, 2000u * 1950u / 2u);
  EXPECT_LE(s.pairs_crossed, fix::max_start_pairs);
  EXPECT_GT(s.pairs_crossed, fix::max_start_pairs * 9 / 10);
  EXPECT_LE(s.crossings.size(), s.pairs_crossed);
}

// An event whose weakest detection goes out and back without end (a bearing
// that fits once it is out and not once it is in): when the rounds run out,
// the last fit stands as it is, and the detections it used are the ones
// reported as used, with their residuals at the fix.
TEST(FixLocate, RoundsEndWithTheLastFit) {
  const double rows[5][4] = {{63.245923, 141.290899, 201.944, 4437.9},
                             {52.676134, 137.870663, 253.947, 0.0},
                             {49.518649, 141.667734, 311.130, 1607.4},
                             {49.821170, 133.969656, 41.665, 478.6},
                             {55.412714, 114.725009, 94.703, 5331.2}};
  const fix::Event e = five_detections(rows);
  fix::Locator locator{fix::Settings{}};
  const fix::Solution s = locator.locate(e);
  ASSERT_NE(s.status, fix::Status::no_fix) << s.reason;
  const Geodesic& g = Geodesic::WGS84();
  for (std::size_t i = 0; i < e.detections.size(); ++i) {
    const fix::Detection& d = e.detections[i];
    double azi1, azi2;
    g.Inverse(d.latitude, d.longitude, s.latitude, s.longitude, azi1, azi2);
    EXPECT_NEAR(std::remainder(d.back_azimuth - azi1, 360.0),
                s.detections[i].residual_deg, 1e-6)
        << "detection " << i;
  }
}

// Settings at and beyond the edge of the model: a tiny bearing standard
// deviation or pick error gives a finite fix (exact data fitted exactly);
// settings out of range give a no-fix that says why, never a NaN.
TEST(FixLocate, ExtremeSettings) {
  const Geodesic& g = Geodesic::WGS84();
  struct Case {
    const char* name;
    double sigma, celerity_min, celerity_max, pick;
    const char* reason;  // nullptr: a fix
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {"bearings to 1e-14 degree", 1e-14, 0.22, 0.34, 10.0, nullptr},
      {"bearings to 1e-300 degree", 1e-300, 0.22, 0.34, 10.0, nullptr},
      {"times to 1e-200 s", 4.0, 0.28, 0.28, 1e-200, nullptr},
      {"exact times", 4.0, 0.28, 0.28, 0.0, "single celerity"},
      {"NaN sigma", nan, 0.22, 0.34, 10.0, "standard deviation"},
      {"celerities reversed", 4.0, 0.34, 0.22, 10.0, "celerities"},
      {"negative pick error", 4.0, 0.22, 0.34, -1.0, "pick error"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fix::Settings settings;
    settings.sigma_deg = c.sigma;
    settings.celerity_min = c.celerity_min;
    settings.celerity_max = c.celerity_max;
    settings.pick_error_s = c.pick;
    fix::Locator locator(settings);
    std::mt19937_64 rng;
    synthetic::Noise exact{0.0, true, 0.0, c.celerity_min, c.celerity_max};
    const fix::Solution s = locator.locate(synthetic::make_event(
        g, -20.0, 30.0, t0, {{0, 400}, {120, 500}, {240, 600}, {300, 300}},
        exact, rng));
    if (c.reason) {
      EXPECT_EQ(s.status, fix::Status::no_fix);
      EXPECT_NE(s.reason.find(c.reason), std::string::npos) << s.reason;
      continue;
    }
    ASSERT_NE(s.status, fix::Status::no_fix) << s.reason;
    EXPECT_LT(km(g, s.latitude, s.longitude, -20.0, 30.0), 0.005);
    EXPECT_TRUE(std::isfinite(s.semi_major_km) &&
                std::isfinite(s.semi_minor_km) &&
                std::isfinite(s.origin_sigma_s));
  }
}

// A noisy event (from the calibration's generator) whose start, the
// crossing of two far stations, misses the bearing of the nearest station
// (140 km) by more than 5 sigma: left out of the first fit, that detection
// is taken back, and the true source lies in the ellipse.
TEST(FixLocate, BearingThatMissedTheStartIsTakenBack) {
  const double rows[5][4] = {{-31.3104678, -138.066207, -171.048072, 7785.07},
                             {-38.3401936, -152.805998, 137.452551, 4448.92},
                             {-45.9083664, -136.59588, -92.3977663, 1640.25},
                             {-29.4286535, -149.261947, 161.988821, 6827.70},
                             {-47.3228567, -141.06455, -63.7806424, 607.55}};
  fix::Locator locator{fix::Settings{}};
  const fix::Solution s = locator.locate(five_detections(rows));
  ASSERT_EQ(s.status, fix::Status::ok) << s.reason;
  for (const fix::DetectionFit& d : s.detections) EXPECT_TRUE(d.used);
  EXPECT_LE(mahalanobis2(Geodesic::WGS84(), s, -46.5146689, -142.563214),
            chi2_2_95);
}

// Events without a fix say why.
TEST(FixLocate, NoFixReasons) {
  struct Case {
    const char* name;
    std::vector<fix::Detection> detections;
    const char* reason;
  };
  auto det = [](double lat, double lon, double baz) {
    fix::Detection d;
    d.station = "A";
    d.latitude = lat;
    d.longitude = lon;
    d.back_azimuth = baz;
    return d;
  };
  const std::vector<Case> cases = {
      {"nothing", {}, "no usable detection"},
      {"one detection", {det(60, 10, 90)}, "only one usable detection"},
      {"one site", {det(60, 10, 90), det(60, 10, 95)}, "cross"},
      {"diverging", {det(60, 10, 270), det(60, 20, 90)}, "cross"},
      {"one bearing through the other station",
       {det(28.331413, -166.841690, -160.465334 + 360),
        det(2.166395, -174.024366, 15.690396)},
       "slides onto station A"},
  };
  fix::Locator locator{fix::Settings{}};
  for (const Case& c : cases) {
    fix::Event e;
    e.detections = c.detections;
    const fix::Solution s = locator.locate(e);
    EXPECT_EQ(s.status, fix::Status::no_fix) << c.name;
    EXPECT_NE(s.reason.find(c.reason), std::string::npos)
        << c.name << ": " << s.reason;
    EXPECT_EQ(s.detections.size(), c.detections.size()) << c.name;
  }
}

}  // namespace
