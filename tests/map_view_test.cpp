// vestra-map without GMT: the projection and rectangle chosen for the test
// events, and the GMT commands planned.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>
#include <sstream>

#include "map/geojson_reader.h"
#include "map/map_plan.h"
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

// The plan is GMT's whole work as data: a session from "begin" to "end" on a
// page of the requested size, every data file that holds something drawn,
// no other read; the whole earth without fills.
TEST(MapPlan, CommandsAsData) {
  const MapEvent event = fixture("regional.geojson").at(0);
  DrawOptions options;
  options.width_px = 800;
  options.height_px = 600;
  options.dpi = 100;
  options.truth = LonLat{20, 63};
  const MapPlan plan = plan_map(event, options, 1);
  ASSERT_GE(plan.commands.size(), 4u);
  EXPECT_EQ(plan.commands.front(), (Command{"begin", "map", "png", "E100,A+n"}));
  EXPECT_EQ(plan.commands[1][2], "576.0000px432.0000p");  // points
  EXPECT_EQ(plan.commands.back(), Command{"end"});
  EXPECT_EQ(plan.picture, "map.png");
  // The files a plan's commands read: exactly those with data.
  auto files_read = [](const MapPlan& p) {
    std::set<std::string> read;
    for (const Command& c : p.commands)
      for (const std::string& arg : c)
        if (arg.ends_with(".txt")) read.insert(arg);
    for (const DataFile& f : p.files)
      EXPECT_EQ(read.count(f.name), f.contents.empty() ? 0u : 1u) << f.name;
    return read;
  };
  const std::set<std::string> read = files_read(plan);
  EXPECT_TRUE(read.count("truth.txt") && read.count("outline.txt"));
  EXPECT_TRUE(read.count("unused.txt"));  // OUL's bearing, set aside

  MapEvent world;
  world.stations = {{"A", {10, 50}}, {"B", {-165, -45}}};
  world.fix = MapFix{"ok", "", LonLat{10, 50}, {}, {}, {}, ""};
  const MapPlan world_plan = plan_map(world, {}, 1);
  EXPECT_FALSE(files_read(world_plan).count("used.txt"));  // no bearings
  const Command& coast = world_plan.commands.at(2);
  EXPECT_EQ(coast.at(0), "coast");
  EXPECT_EQ(coast.at(1), "-Rg");
  EXPECT_EQ(std::count(coast.begin(), coast.end(), "-G#f4f1e6"), 0);
}
