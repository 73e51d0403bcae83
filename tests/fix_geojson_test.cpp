// vestra-fix's GeoJSON: RFC 7946's rules, every member name a word of the
// result vocabulary, read by GDAL and by vestra-map, and one valid document
// for any number of events and threads.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <nlohmann/json.hpp>

#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fix/program.h"
#include "fix_synthetic.h"
#include "in_process.h"
#include "geo/vocabulary.h"
#include "map/geojson_reader.h"
#include "run_program.h"

namespace {

using geo::Key;
using geo::Kind;
using nlohmann::json;

Outcome run(const std::vector<std::string>& args, const std::string& input) {
  return run_main(fix::fix_main, args, input);
}

std::string word(Key key) { return std::string(geo::name(key)); }

// The GeoJSON of a few events against RFC 7946: one FeatureCollection,
// features grouped per event, positions [longitude, latitude] with
// longitudes in [-180, 180] and at most 7 decimals, no segment across the
// antimeridian (lines and rings cut there), polygon rings closed and
// counter-clockwise, bearing lines densified to 10 km steps.
class FixGeoJson : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const auto& g = GeographicLib::Geodesic::WGS84();
    std::mt19937_64 rng(3);
    struct Ev {
      const char* name;
      double lat, lon;
      std::vector<synthetic::Site> sites;
    };
    const Ev evs[] = {
        {"antimeridian", -16.0, 179.98, {{45, 400}, {135, 300}, {260, 500}}},
        {"pole", 89.96, 20.0, {{0, 500}, {120, 300}, {240, 400}}},
        {"plain", 45.0, 7.0, {{10, 200}, {200, 300}}},
    };
    std::ostringstream text;
    for (const Ev& e : evs) {
      const fix::Event ev = synthetic::make_event(g, e.lat, e.lon, 0.0,
                                                  e.sites, {0.5}, rng, e.name);
      for (const fix::Detection& d : ev.detections)
        text << e.name << ' ' << d.station << ' ' << d.latitude << ' '
             << d.longitude << ' ' << d.back_azimuth << '\n';
    }
    // One detection located, one refused.
    text << "nofix A 60 10 90\nnofix B 95 10 90\n";
    const Outcome r = run({"--format=geojson"}, text.str());
    ASSERT_EQ(r.status, 1);
    ASSERT_EQ(r.err, "vestra-fix: <stdin>:10: latitude: \"95\" is outside [-90, 90]\n");
    output_ = new std::string(r.out);
  }
  static void TearDownTestSuite() { delete output_; }
  static std::string* output_;
};
std::string* FixGeoJson::output_ = nullptr;

double ring_area(const json& ring) {
  double a = 0.0;
  for (std::size_t i = 0; i + 1 < ring.size(); ++i)
    a += ring[i][0].get<double>() * ring[i + 1][1].get<double>() -
         ring[i + 1][0].get<double>() * ring[i][1].get<double>();
  return a;
}

void check_positions(const json& line, const std::string& what) {
  const auto& g = GeographicLib::Geodesic::WGS84();
  for (std::size_t i = 0; i < line.size(); ++i) {
    const double lon = line[i][0], lat = line[i][1];
    EXPECT_EQ(line[i].size(), 2u) << what;
    EXPECT_TRUE(-180.0 <= lon && lon <= 180.0) << what << ": " << lon;
    EXPECT_TRUE(-90.0 <= lat && lat <= 90.0) << what << ": " << lat;
    if (i == 0) continue;
    const double prev = line[i - 1][0];
    EXPECT_LE(std::fabs(lon - prev), 180.0) << what << " crosses at " << i;
    if (what.rfind("bearing", 0) == 0 && std::fabs(lon) != 180.0 &&
        std::fabs(prev) != 180.0) {
      double s12;
      g.Inverse(line[i - 1][1].get<double>(), prev, lat, lon, s12);
      EXPECT_LE(s12, 10000.5) << what << " step " << i;
    }
  }
}

// The properties each kind carries, all of them words of the vocabulary,
// which vestra-map reads.
void check_properties(const json& props, const std::string& kind) {
  static const std::map<std::string, std::vector<Key>> keys = {
      {"station", {Key::station}},
      {"bearing", {Key::station, Key::back_azimuth, Key::used}},
      {"crossing", {Key::stations}},
      {"fix", {Key::status, Key::reason, Key::latitude, Key::longitude,
               Key::semi_major_km, Key::semi_minor_km, Key::azimuth_deg,
               Key::origin_time, Key::origin_time95, Key::refused, Key::pairs,
               Key::pairs_crossed}},
      {"ellipse95", {Key::semi_major_km, Key::semi_minor_km, Key::azimuth_deg}}};
  ASSERT_TRUE(geo::kind_named(kind)) << kind;
  std::set<std::string> expected = {word(Key::event), word(Key::kind)};
  for (Key k : keys.at(kind)) expected.insert(word(k));
  std::set<std::string> written;
  for (const auto& [name, value] : props.items()) written.insert(name);
  EXPECT_EQ(written, expected) << kind;
}

TEST_F(FixGeoJson, FollowsRfc7946) {
  const json doc = json::parse(*output_);
  EXPECT_EQ(doc["type"], "FeatureCollection");
  std::vector<std::string> order;
  std::set<std::string> kinds_with_ellipse;
  std::map<std::string, int> refused;
  int cut_lines = 0, cut_rings = 0, pole_rings = 0;
  for (const json& f : doc["features"]) {
    EXPECT_EQ(f["type"], "Feature");
    const json& props = f["properties"];
    const std::string event = props[word(Key::event)];
    const std::string kind = props[word(Key::kind)];
    check_properties(props, kind);
    if (order.empty() || order.back() != event) order.push_back(event);
    const json& geom = f["geometry"];
    const std::string what = kind + " of " + event;
    if (kind == "fix") refused[event] = props[word(Key::refused)];
    if (kind == "fix" && event == "nofix") {
      EXPECT_TRUE(geom.is_null());
      EXPECT_EQ(props[word(Key::status)], "no-fix");
      continue;
    }
    const std::string type = geom["type"];
    const json& c = geom["coordinates"];
    if (type == "Point") {
      check_positions(json::array({c}), what);
    } else if (type == "LineString") {
      EXPECT_GE(c.size(), 2u);
      check_positions(c, what);
    } else if (type == "MultiLineString") {
      ++cut_lines;
      for (const json& part : c) check_positions(part, what);
    } else if (type == "Polygon" || type == "MultiPolygon") {
      kinds_with_ellipse.insert(event);
      const json polygons = type == "Polygon" ? json::array({c}) : c;
      cut_rings += type == "MultiPolygon";
      for (const json& polygon : polygons) {
        const json& ring = polygon[0];
        EXPECT_GE(ring.size(), 4u) << what;
        EXPECT_EQ(ring.front(), ring.back()) << what;
        EXPECT_GT(ring_area(ring), 0.0) << what << " is not anticlockwise";
        check_positions(ring, what);
        for (const json& p : ring) pole_rings += p[1] == 90.0;
      }
    } else {
      ADD_FAILURE() << what << ": geometry " << type;
    }
  }
  EXPECT_EQ(order, (std::vector<std::string>{"antimeridian", "pole",
                                              "plain", "nofix"}));
  EXPECT_EQ(kinds_with_ellipse,
            (std::set<std::string>{"antimeridian", "pole", "plain"}));
  EXPECT_EQ(refused, (std::map<std::string, int>{
                         {"antimeridian", 0}, {"pole", 0}, {"plain", 0},
                         {"nofix", 1}}));
  EXPECT_GE(cut_lines, 2);  // bearings from either side of the antimeridian
  EXPECT_GE(cut_rings, 1);  // the ellipse straddling it
  EXPECT_GE(pole_rings, 2); // the ellipse round the pole, closed along it

  // At most 7 decimals in every number of the text.
  const std::string& text = *output_;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '.' || i == 0 || !std::isdigit(text[i - 1])) continue;
    std::size_t j = i + 1;
    while (j < text.size() && std::isdigit(text[j])) ++j;
    EXPECT_LE(j - i - 1, 7u) << text.substr(i > 20 ? i - 20 : 0, 40);
  }
}

// vestra-map finds in it every event with what the writer wrote: the
// stations, the bearings with their use, the verdict and the ellipse.
TEST_F(FixGeoJson, VestraMapReadsIt) {
  const auto events = vestra::map::read_geojson(*output_);
  ASSERT_EQ(events.size(), 4u);
  const auto& antimeridian = events[0];
  EXPECT_EQ(antimeridian.name, "antimeridian");
  EXPECT_EQ(antimeridian.stations.size(), 3u);
  ASSERT_EQ(antimeridian.bearings.size(), 3u);
  EXPECT_EQ(antimeridian.bearings[1].station, "S2");
  EXPECT_TRUE(antimeridian.bearings[1].used);
  EXPECT_EQ(antimeridian.crossings.size(), 3u);
  ASSERT_TRUE(antimeridian.fix && antimeridian.fix->at);
  EXPECT_EQ(antimeridian.fix->status, "ok");
  EXPECT_TRUE(antimeridian.fix->semi_major_km && antimeridian.fix->azimuth_deg);
  EXPECT_EQ(antimeridian.ellipse.size(), 2u);  // cut at the antimeridian
  const auto& nofix = events[3];
  ASSERT_TRUE(nofix.fix);
  EXPECT_EQ(nofix.fix->status, "no-fix");
  EXPECT_FALSE(nofix.fix->at);
  EXPECT_FALSE(nofix.fix->reason.empty());
  EXPECT_TRUE(nofix.ellipse.empty());
}

TEST_F(FixGeoJson, GdalReadsItWithoutComplaint) {
  ASSERT_TRUE(std::filesystem::exists("/usr/bin/ogrinfo"));  // gdal-bin
  const TempDir dir;
  const std::string file = dir.file("fix.geojson", *output_);
  ProgramRun r;
  r.args = {"-ro", "-al", "-so", file};
  r.argv0 = "ogrinfo";
  const ProgramResult res = run_program("/usr/bin/ogrinfo", r);
  EXPECT_EQ(res.status, 0) << res.err;
  EXPECT_EQ(res.err, "");
  EXPECT_NE(res.out.find("Feature Count: "), std::string::npos) << res.out;
}

// No event, and more events than one thread's share: one valid document
// with one fix per event, on one thread and on several.
TEST(FixGeoJsonRun, OneDocumentForAnyNumberOfEvents) {
  for (int events : {0, 1, 300}) {
    std::string input;
    for (int e = 0; e < events; ++e) input += "e" + std::to_string(e) + " A 60 10 90\n";
    for (const char* jobs : {"--jobs=1", "--jobs=3"}) {
      const Outcome r = run({"--format=geojson", jobs}, input);
      ASSERT_EQ(r.status, 0) << r.err;
      json doc;
      ASSERT_NO_THROW(doc = json::parse(r.out)) << events << " " << jobs;
      int fixes = 0;
      for (const json& f : doc["features"]) fixes += f["properties"]["kind"] == "fix";
      EXPECT_EQ(fixes, events) << jobs;
    }
  }
}

}  // namespace
