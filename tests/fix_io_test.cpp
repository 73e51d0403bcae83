// vestra-fix's output: the GeoJSON against RFC 7946's rules and GDAL, and
// catalogues giving the same bytes on one thread, several threads, and split
// by GNU parallel.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fix/iso_time.h"
#include "fix/program.h"
#include "fix_synthetic.h"
#include "run_program.h"

namespace {

using nlohmann::json;

struct Outcome {
  int status;
  std::string out, err;
};

Outcome run(const std::vector<std::string>& args, const std::string& input) {
  std::istringstream in(input);
  std::ostringstream out, err;
  const int status = fix::fix_main(args, in, out, err);
  return {status, out.str(), err.str()};
}

std::vector<json> json_lines(const std::string& text) {
  std::vector<json> v;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) v.push_back(json::parse(line));
  return v;
}

// A catalogue in the text format: `events` synthetic events with 3 to 6
// stations, some with times, and a bad line every 50 events.
std::string catalogue(int events) {
  const auto& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(99);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::string text;
  char line[200];
  for (int e = 0; e < events; ++e) {
    std::vector<synthetic::Site> sites;
    const int n = 3 + e % 4;
    for (int i = 0; i < n; ++i)
      sites.push_back({360.0 * u(rng), 100.0 + 1500.0 * u(rng)});
    const bool times = e % 3 != 0;
    const fix::Event ev = synthetic::make_event(
        g, -80.0 + 160.0 * u(rng), -180.0 + 360.0 * u(rng), 1.2e9 + e * 600.0,
        sites, {4.0, times, 10.0, 0.22, 0.34}, rng, "ev" + std::to_string(e));
    for (const fix::Detection& d : ev.detections) {
      std::snprintf(line, sizeof line, "%s %s %.6f %.6f %.4f - %s\n",
                    ev.name.c_str(), d.station.c_str(), d.latitude,
                    d.longitude, d.back_azimuth,
                    d.has_time ? fix::format_iso_time(d.time).c_str() : "-");
      text += line;
    }
    if (e % 50 == 7) text += ev.name + " bad 91 0 0\n";
  }
  return text;
}

TEST(FixCatalogue, SameBytesOnAnyNumberOfThreads) {
  const std::string input = catalogue(400);
  for (const char* format : {"--format=text", "--format=json",
                             "--format=geojson"}) {
    const Outcome one = run({format, "--jobs=1"}, input);
    const Outcome three = run({format, "--jobs", "3"}, input);
    EXPECT_EQ(one.status, 1) << format;
    EXPECT_EQ(three.status, 1) << format;
    EXPECT_EQ(one.err, three.err) << format;
    EXPECT_TRUE(one.out == three.out) << format;
  }
}

std::string temp_dir() {
  char name[] = "/tmp/vestra-fix-test-XXXXXX";
  return mkdtemp(name);
}

// GNU parallel splits the text catalogue on event boundaries (lines grouped
// by their first column) and runs vestra-fix on every piece; with
// --keep-order the pieces' output is the single run's, byte for byte.
TEST(FixCatalogue, GnuParallelSplitGivesTheSameBytes) {
  // GNU parallel is one of the packages ./bootstrap installs: missing, the
  // test fails rather than hiding the missing install step.
  ASSERT_TRUE(std::filesystem::exists("/usr/bin/parallel"));
  const std::string dir = temp_dir();
  const std::string file = dir + "/catalogue.txt";
  std::ofstream(file) << catalogue(300);
  ProgramRun single;
  single.args = {"--format=json", "--jobs=2", file};
  single.argv0 = "vestra-fix";
  const ProgramResult whole = run_program(VESTRA_FIX_BINARY, single);
  ProgramRun split;
  split.args = {"-c", std::string("parallel --pipe --keep-order "
                                      "--colsep '[ \\t]+' --group-by 1 "
                                      "--block 4k ") +
                              VESTRA_FIX_BINARY +
                              " --format=json --jobs=1 <" + file};
  split.argv0 = "bash";
  const ProgramResult pieces = run_program("/bin/bash", split);
  std::filesystem::remove_all(dir);
  EXPECT_EQ(whole.status, 1);
  EXPECT_NE(pieces.status, 0);  // parallel: the number of failed pieces
  EXPECT_EQ(json_lines(whole.out).size(), 300u);
  EXPECT_TRUE(pieces.out == whole.out);
}

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
    text << "nofix A 60 10 90\n";
    input_ = new std::string(text.str());
    const Outcome r = run({"--format=geojson"}, *input_);
    ASSERT_EQ(r.status, 0) << r.err;
    output_ = new std::string(r.out);
  }
  static void TearDownTestSuite() {
    delete input_;
    delete output_;
  }
  static std::string* input_;
  static std::string* output_;
};
std::string* FixGeoJson::input_ = nullptr;
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

TEST_F(FixGeoJson, FollowsRfc7946) {
  const json doc = json::parse(*output_);
  EXPECT_EQ(doc["type"], "FeatureCollection");
  std::vector<std::string> order;
  std::set<std::string> kinds_with_ellipse;
  int cut_lines = 0, cut_rings = 0, pole_rings = 0;
  for (const json& f : doc["features"]) {
    EXPECT_EQ(f["type"], "Feature");
    const std::string event = f["properties"]["event"];
    const std::string kind = f["properties"]["kind"];
    // The properties each kind carries (vestra-map reads them).
    static const std::map<std::string, std::vector<std::string>> keys = {
        {"station", {"station"}},
        {"bearing", {"station", "back_azimuth", "used"}},
        {"crossing", {"stations"}},
        {"fix", {"status", "reason", "latitude", "longitude", "semi_major_km",
                 "semi_minor_km", "azimuth_deg", "origin_time",
                 "origin_time95"}},
        {"ellipse95", {"semi_major_km", "semi_minor_km", "azimuth_deg"}}};
    ASSERT_TRUE(keys.count(kind)) << kind;
    for (const std::string& k : keys.at(kind))
      EXPECT_TRUE(f["properties"].contains(k)) << kind << " without " << k;
    if (order.empty() || order.back() != event) order.push_back(event);
    const json& geom = f["geometry"];
    const std::string what = kind + " of " + event;
    if (kind == "fix" && event == "nofix") {
      EXPECT_TRUE(geom.is_null());
      EXPECT_EQ(f["properties"]["status"], "no-fix");
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

TEST_F(FixGeoJson, GdalReadsItWithoutComplaint) {
  ASSERT_TRUE(std::filesystem::exists("/usr/bin/ogrinfo"));  // gdal-bin
  const std::string dir = temp_dir();
  const std::string file = dir + "/fix.geojson";
  std::ofstream(file) << *output_;
  ProgramRun r;
  r.args = {"-ro", "-al", "-so", file};
  r.argv0 = "ogrinfo";
  const ProgramResult res = run_program("/usr/bin/ogrinfo", r);
  std::filesystem::remove_all(dir);
  EXPECT_EQ(res.status, 0) << res.err;
  EXPECT_EQ(res.err, "");
  EXPECT_NE(res.out.find("Feature Count: "), std::string::npos) << res.out;
}

}  // namespace
