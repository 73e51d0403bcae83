// The geometry layer: angles wrapped at their edges, the sphere against
// GeographicLib's exact sphere, and the antimeridian cut undone for drawing.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <cmath>
#include <set>
#include <utility>

#include "geo/antimeridian.h"
#include "geo/sphere.h"

namespace {

using geo::LonLat;
using geo::Line;

TEST(GeoAngles, WrapAtTheEdges) {
  struct Case {
    double in, wrap180, wrap360;
  };
  const Case cases[] = {
      {-180.0, 180.0, 180.0},  {180.0, 180.0, 180.0},
      {540.0, 180.0, 180.0},   {-540.0, 180.0, 180.0},
      {360.0, 0.0, 0.0},       {-360.0, 0.0, 0.0},
      {-1e-17, -1e-17, 0.0},   // 360 - 1e-17 rounds to 360
      {-90.25, -90.25, 269.75}, {1e6 + 0.5, -79.5, 280.5},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(geo::wrap180(c.in), c.wrap180) << c.in;
    EXPECT_EQ(geo::wrap360(c.in), c.wrap360) << c.in;
  }
}

// Distances and azimuths on the sphere of the mean radius, against the
// geodesics of an exact sphere, near and far, antipodes included.
TEST(GeoSphere, AgreesWithAnExactSphere) {
  const GeographicLib::Geodesic sphere(geo::mean_radius_km * 1000.0, 0.0);
  const std::pair<LonLat, LonLat> pairs[] = {
      {{10, 50}, {10.000001, 50}},  {{-179.5, 10}, {179.5, -10}},
      {{0, 89.9}, {180, 89.9}},     {{20, 30}, {-160, -30}},
      {{20, 30}, {-160.001, -29.999}}, {{-75, -40}, {120, 65}}};
  for (const auto& [a, b] : pairs) {
    double s12, azi1, azi2;
    sphere.Inverse(a.lat, a.lon, b.lat, b.lon, s12, azi1, azi2);
    EXPECT_NEAR(geo::distance_km(a, b), s12 / 1000.0, 1e-6) << a.lon << " " << b.lon;
    if (s12 < 20000e3) {
      const double az = geo::sphere_azimuth(geo::local_frame(a.lat, a.lon),
                                            geo::unit_vector(b.lat, b.lon));
      EXPECT_NEAR(std::remainder(az - azi1, 360.0), 0.0, 1e-6) << a.lon;
    }
    const LonLat back = geo::position(geo::unit_vector(b.lat, b.lon));
    EXPECT_NEAR(back.lat, b.lat, 1e-12);
    EXPECT_NEAR(std::remainder(back.lon - b.lon, 360.0), 0.0, 1e-12);
  }
  // The position of a vector of any length (a sum of unit vectors).
  const LonLat mean = geo::position({0, 2, 2});
  EXPECT_NEAR(mean.lon, 90, 1e-12);
  EXPECT_NEAR(mean.lat, 45, 1e-12);
}

// A ring of 36 points round (lon0, lat0), counter-clockwise, radius in
// degrees.
Line circle(double lon0, double lat0, double radius) {
  Line ring;
  for (int k = 0; k < 36; ++k) {
    const double t = 2 * M_PI * k / 36;
    ring.push_back({geo::wrap180(lon0 + radius * std::cos(t)),
                    lat0 + radius * std::sin(t)});
  }
  return ring;
}

// The parallel at `lat` as a ring eastwards round the north pole.
Line parallel(double lat) {
  Line ring;
  for (int k = 0; k < 36; ++k) ring.push_back({-180 + 10.0 * k, lat});
  return ring;
}

// The outline of the cut rings holds every vertex of the ring, and no edge
// runs along the antimeridian or the pole: the cut is undone.
TEST(GeoAntimeridian, OutlineUndoesTheCut) {
  struct Case {
    const char* what;
    Line ring;
    std::size_t rings;
  };
  const Case cases[] = {{"plain", circle(10, 45, 5), 1},
                        {"antimeridian", circle(180, -16, 5), 2},
                        {"pole", parallel(86), 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Line& ring = c.ring;
    const std::vector<Line> cut = geo::cut_ring(ring);
    EXPECT_EQ(cut.size(), c.rings);
    const std::vector<Line> outline = geo::ring_outline(cut);
    std::set<std::pair<double, double>> drawn;
    for (const Line& line : outline)
      for (std::size_t i = 0; i < line.size(); ++i) {
        drawn.insert({geo::wrap180(line[i].lon), line[i].lat});
        if (i == 0) continue;
        const LonLat a = line[i - 1], b = line[i];
        EXPECT_FALSE(std::fabs(a.lon) == 180 && std::fabs(b.lon) == 180)
            << "edge along the antimeridian at " << a.lat;
        EXPECT_FALSE(std::fabs(a.lat) == 90 && a.lat == b.lat)
            << "edge along the pole";
      }
    for (const LonLat& p : ring)
      EXPECT_TRUE(drawn.count({geo::wrap180(p.lon), p.lat}))
          << p.lon << " " << p.lat;
  }
}

}  // namespace
