// vestra-map run in-process: refused command lines, hostile GeoJSON, and
// the files it writes (names that stay in their directory, links planted
// where the picture goes, a full disk), with a fake GMT that only makes a
// picture. map_test.sh runs it with GMT.

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "map/gmt_run.h"
#include "map/map_main.h"
#include "map/output_file.h"
#include "in_process.h"

namespace {

namespace fs = std::filesystem;
using namespace vestra::map;

Outcome run(const std::vector<std::string>& args, const std::string& input = "") {
  return run_main(map_main, args, input);
}

// A FeatureCollection of one feature of `event` with `geometry` and `kind`.
std::string collection(const std::string& event, const std::string& kind,
                       const std::string& geometry) {
  return R"({"type":"FeatureCollection","features":[{"type":"Feature",)"
         R"("geometry":)" + geometry + R"(,"properties":{"event":")" + event +
         R"(","kind":")" + kind + R"("}}]})";
}

std::string nested(std::size_t depth, const std::string& inner) {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

std::string repeat(const std::string& text, std::size_t times) {
  std::string s;
  while (times--) s += text;
  return s;
}

const char* const kTry = "\nTry 'vestra-map --help'.\n";

TEST(MapCommandLine, Refusals) {
  struct Case {
    std::vector<std::string> args;
    std::string err;
  };
  const Case cases[] = {
      {{"-o", "x.png", "--size=99x600"},
       "--size: \"99\" is outside [100, 20000] (WIDTHxHEIGHT in pixels)"},
      {{"-o", "x.png", "--size=800x600x"},
       "--size: \"600x\" is not a number (WIDTHxHEIGHT in pixels)"},
      {{"-o", "x.png", "--size", "800"}, "--size: \"800\" is not WIDTHxHEIGHT"},
      {{"-o", "x.png", "--si=800X600"}, "--size: \"800X600\" is not WIDTHxHEIGHT"},
      {{"-o", "x.png", "--dpi=29"}, "--dpi: \"29\" is outside [30, 2400]"},
      {{"-o", "x.png", "--dpi=150.5"}, "--dpi: \"150.5\" is not a whole number"},
      {{"-o", "x.png", "--truth=91,0"},
       "--truth: \"91\" is outside [-90, 90] (LATITUDE,LONGITUDE in degrees)"},
      {{"-o", "x.png", "--truth=60,nan"},
       "--truth: \"nan\" is not a finite number (LATITUDE,LONGITUDE in degrees)"},
      {{"-o", "x.png", "--truth=60 10"}, "--truth: \"60 10\" is not LATITUDE,LONGITUDE"},
      {{"in.geojson"}, "no output file: give -o FILE.png or -o FILE.pdf"},
      {{"-o", "x.jpg"}, "-o: \"x.jpg\" does not end in .png or .pdf"},
      {{"--output=png"}, "-o: \"png\" does not end in .png or .pdf"},
      {{"-o", "x.PDF", "a", "b"}, "more than one input file: \"a\", \"b\""},
  };
  for (const Case& c : cases) {
    const Outcome o = run(c.args);
    EXPECT_EQ(o.status, 1) << c.err;
    EXPECT_EQ(o.err, "vestra-map: " + c.err + kTry);
    EXPECT_EQ(o.out, "");
  }
}

// Input that must give one message and status 1, never a crash: nesting a
// hundred thousand and a million levels deep, values too long to print.
TEST(MapInput, HostileGeoJson) {
  const std::string name(200, 'n');
  struct Case {
    const char* what;
    std::string input;
    std::string err;
  };
  const Case cases[] = {
      {"station nested deep",
       collection("e", "station",
                  R"({"type":"Point","coordinates":[200,)" +
                      nested(100000, "") + "]}"),
       "arrays and objects nested more than 64 levels deep"},
      {"ellipse nested deeper",
       collection("e", "ellipse95",
                  R"({"type":"Polygon","coordinates":)" +
                      nested(1000000, "0") + "}"),
       "arrays and objects nested more than 64 levels deep"},
      {"long number",
       collection("e", "station", R"({"type":"Point","coordinates":[200,)" +
                                      std::string(50000, '1') + "]}"),
       "not valid JSON: number overflow parsing \"" +
           std::string(64, '1') + "\"... (50000 bytes)"},
      {"position out of range",
       collection("e", "station", R"({"type":"Point","coordinates":[200)" +
                                      repeat(",0", 50000) + "]}"),
       "feature 0: position out of range: [200, 0]"},
      {"second fix of a long name",
       R"({"type":"FeatureCollection","features":[)"
       R"({"type":"Feature","geometry":null,"properties":{"event":")" + name +
           R"(","kind":"fix"}},)"
           R"({"type":"Feature","geometry":null,"properties":{"event":")" +
           name + R"(","kind":"fix"}}]})",
       "feature 1: a second fix for event \"" + std::string(64, 'n') +
           "\"... (200 bytes)"},
  };
  for (const Case& c : cases) {
    const Outcome o = run({"-o", "x.png"}, c.input);
    EXPECT_EQ(o.status, 1) << c.what;
    EXPECT_EQ(o.err, "vestra-map: <stdin>: " + c.err + "\n") << c.what;
  }
}

TEST(MapOutput, NamesStayInTheirDirectory) {
  MapEvent named, unnamed, dots, dot;
  named.name = "2024/05 bothnia";
  dots.name = "..";
  dot.name = ".";
  EXPECT_EQ(output_name("map.png", named, 1, 1), "map.png");
  EXPECT_EQ(output_name("out/map.png", named, 2, 3), "out/map-2024_05_bothnia.png");
  EXPECT_EQ(output_name("out/map.png", unnamed, 2, 3), "out/map-2.png");
  EXPECT_EQ(output_name("%n-%e-100%%.pdf", named, 7, 9), "7-2024_05_bothnia-100%.pdf");
  EXPECT_EQ(output_name("maps/%e/x.png", dots, 1, 2), "maps/__/x.png");
  EXPECT_EQ(output_name("maps/%e/x.png", dot, 1, 2), "maps/_/x.png");
  EXPECT_EQ(output_name("maps/%e.png", dots, 1, 2), "maps/__.png");
  EXPECT_THROW(output_name("map%.png", named, 1, 1), MapError);
}

// A working directory with a fake GMT: "end" makes the picture.
class MapFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/vestra-map-test-XXXXXX";
    dir_ = mkdtemp(name);
    gmt_ = dir_ / "fake-gmt";
    std::ofstream(gmt_) << "#!/bin/sh\n[ \"$1\" = end ] && echo picture >map.png\n"
                           "exit 0\n";
    fs::permissions(gmt_, fs::perms::owner_all);
    setenv("TMPDIR", dir_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    fs::remove_all(dir_);
  }
  fs::path dir_, gmt_;
};

// Links planted at the picture's name and at the name of the old temporary
// copy: neither is followed, the victim stays as it was.
TEST_F(MapFiles, NoLinkIsFollowed) {
  const fs::path victim = dir_ / "victim.txt", target = dir_ / "map.png";
  std::ofstream(victim) << "victim";
  fs::create_symlink(victim, target);
  fs::create_symlink(victim, dir_ / (".map.png.part" + std::to_string(getpid())));
  const Outcome o = run({"--gmt=" + gmt_.string(), "-o", target.string()},
                        R"({"type":"FeatureCollection","features":[{"type":"Feature",)"
                        R"("geometry":{"type":"Point","coordinates":[10,60]},"properties":)"
                        R"({"event":"e","kind":"station","station":"A"}}]})");
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(read_text(victim), "victim");
  EXPECT_FALSE(fs::is_symlink(target));
  EXPECT_EQ(read_text(target), "picture\n");
  std::size_t entries = 0;
  for (const auto& e : fs::directory_iterator(dir_)) entries += !e.path().empty();
  EXPECT_EQ(entries, 4u);  // the fake GMT, the victim, two links
}

// A data file on a full disk is reported as such, though the bytes fit in
// the stream's buffer until it is closed.
TEST(MapDataFiles, FullDisk) {
  try {
    write_data_file("/dev/full", "0 0\n");
    ADD_FAILURE() << "no error";
  } catch (const MapError& e) {
    EXPECT_EQ(std::string(e.what()),
              "cannot write \"/dev/full\": No space left on device");
  }
}

}  // namespace
