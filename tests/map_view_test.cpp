// vestra-map without GMT: the projection and rectangle chosen for the test
// events, and the output names made from the -o pattern.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "map/geojson_reader.h"
#include "map/output_file.h"
#include "map/map_view.h"

using namespace vestra::map;

namespace {

std::vector<MapEvent> fixture(const std::string& name) {
  std::ifstream in(std::string(MAP_FIXTURES) + "/" + name);
  std::stringstream text;
  text << in.rdbuf();
  return read_geojson(text.str());
}

}  // namespace

// Regional events are stereographic, far-field ones azimuthal equidistant
// about the fix; every point to frame lies inside the rectangle, which has
// the page's shape, whether it spans the antimeridian or contains a pole.
TEST(MapView, FramesTheTestEvents) {
  struct Case {
    MapEvent event;
    Projection projection;
  };
  std::vector<MapEvent> two = fixture("two_events.geojson");
  const Case cases[] = {{fixture("regional.geojson").at(0), Projection::stereographic},
                        {two.at(0), Projection::azimuthal_equidistant},
                        {two.at(1), Projection::stereographic}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.event.name);
    const LonLat fix = *c.event.fix->at;
    const MapView view = choose_view(framed_points(c.event, std::nullopt), fix, 1.5);
    EXPECT_EQ(view.projection, c.projection);
    EXPECT_FALSE(view.whole_earth);
    EXPECT_NEAR(view.width_km / view.height_km, 1.5, 1e-9);
    if (c.projection == Projection::azimuthal_equidistant) {
      EXPECT_NEAR(view.centre.lat, fix.lat, 1e-9);
      EXPECT_NEAR(view.centre.lon, fix.lon, 1e-9);
    }
    for (LonLat p : framed_points(c.event, std::nullopt)) {
      PlanePoint q = project(view.projection, view.centre, p);
      ASSERT_TRUE(q.x > view.low.x && q.x < view.high.x && q.y > view.low.y &&
                  q.y < view.high.y)
          << p.lon << " " << p.lat;
    }
    // The corners GMT gets are those of the rectangle.
    PlanePoint ll = project(view.projection, view.centre, view.lower_left);
    EXPECT_NEAR(ll.x, view.low.x, 1e-6);
    EXPECT_NEAR(ll.y, view.low.y, 1e-6);
  }
  // A station on the far side of the earth: the whole disk.
  const MapView world =
      choose_view({{10, 50}, {-165, -45}}, LonLat{10, 50}, 1.5);
  EXPECT_TRUE(world.whole_earth);
}

TEST(MapOutput, NamesFromThePattern) {
  MapEvent named, unnamed;
  named.name = "2024/05 bothnia";
  EXPECT_EQ(output_name("map.png", named, 1, 1), "map.png");
  EXPECT_EQ(output_name("out/map.png", named, 2, 3), "out/map-2024_05_bothnia.png");
  EXPECT_EQ(output_name("out/map.png", unnamed, 2, 3), "out/map-2.png");
  EXPECT_EQ(output_name("%n-%e-100%%.pdf", named, 7, 9), "7-2024_05_bothnia-100%.pdf");
  EXPECT_THROW(output_name("map%.png", named, 1, 1), MapError);
}
