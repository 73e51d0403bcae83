// vestra-fix's readers: ISO 8601 times; the text format and detection JSON
// with bad and hostile input; both generations of JSON keys and the names
// of stations; several inputs read as one; read errors and byte-order
// marks; JSON elements kept as written for vestra-assoc to write back.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <streambuf>
#include <string>
#include <system_error>
#include <vector>

#include "fix/inputs.h"
#include "fix/iso_time.h"
#include "fix/program.h"
#include "fix/reader.h"
#include "in_process.h"

namespace {

using nlohmann::json;

template <class Input>
Outcome run(const std::vector<std::string>& args, Input&& input) {
  return run_main(fix::fix_main, args, input);
}

// The results of JSON Lines output; their event names; their numbers of
// detections.
std::vector<json> results(const std::string& json_lines) {
  std::vector<json> v;
  std::istringstream in(json_lines);
  for (std::string line; std::getline(in, line);) v.push_back(json::parse(line));
  return v;
}
std::vector<std::string> events(const std::string& json_lines) {
  std::vector<std::string> names;
  for (const json& r : results(json_lines)) names.push_back(r["event"]);
  return names;
}
std::vector<std::size_t> sizes(const std::string& json_lines) {
  std::vector<std::size_t> n;
  for (const json& r : results(json_lines)) n.push_back(r["detections"].size());
  return n;
}

// Every record of `input` read as standard input, and the messages.
struct Records {
  std::vector<fix::DetectionRecord> records;
  std::string messages;
};

Records read(const std::string& input, bool keep_raw = false) {
  std::istringstream in(input);
  std::ostringstream messages;
  fix::Diagnostics diagnostics("vestra-fix", messages);
  fix::DetectionReader reader({}, in, diagnostics, {.keep_raw = keep_raw});
  Records r;
  for (fix::DetectionRecord record; reader.next(record);)
    r.records.push_back(record);
  r.messages = messages.str();
  return r;
}

TEST(FixTime, Iso8601) {
  struct Case {
    const char* text;
    double seconds;  // NAN: refused
  };
  const Case cases[] = {
      {"1970-01-01T00:00:00", 0.0},
      {"2004-06-02T17:42:14", 1086198134.0},
      {"2004-06-02 17:42:14.25Z", 1086198134.25},
      {"2004-06-02T17:42:14,25", 1086198134.25},
      {"2010-01-01T12:07:29.773000", 1262347649.773},
      {"2004-06-02T19:42:14+02:00", 1086198134.0},
      {"2000-02-29T23:59:60", 951868800.0},  // a leap second counts on
      {"2016-12-31T18:59:60-05:00", 1483228800.0},
      {"1969-12-31T23:59:59.5", -0.5},
      {"2004-06-02T12:30:60", NAN},  // second 60 only at 23:59 UTC
      {"2016-12-31T23:59:60-05:00", NAN},
      {"2001-02-29T00:00:00", NAN},
      {"2004-13-01T00:00:00", NAN},
      {"2004-06-02T24:00:00", NAN},
      {"2004-06-02", NAN},
      {"2004-06-02T17:42:14.", NAN},
      {"2004-06-02T17:42:14 ", NAN},
      {"2004-06-02T17:42:14+2:00", NAN},
      {"2004-6-2T17:42:14", NAN},
      {"0000-01-01T00:00:00", NAN},
      {"", NAN},
  };
  for (const Case& c : cases) {
    const auto t = fix::parse_iso_time(c.text);
    if (std::isnan(c.seconds)) {
      EXPECT_FALSE(t) << c.text;
    } else {
      ASSERT_TRUE(t) << c.text;
      EXPECT_NEAR(*t, c.seconds, 1e-6) << c.text;
    }
  }
  EXPECT_EQ(fix::format_iso_time(1086198134.25), "2004-06-02T17:42:14.3Z");
  EXPECT_EQ(fix::format_iso_time(951868799.96), "2000-03-01T00:00:00.0Z");
  EXPECT_EQ(fix::format_iso_time(-0.5), "1969-12-31T23:59:59.5Z");
  EXPECT_EQ(fix::format_iso_time(-62135596800.0), "0001-01-01T00:00:00.0Z");
}

// Bad input: a message naming the input, the line (or array index) and the
// field; the run goes on; every event gets exactly one record; status 1.
TEST(FixInput, BadTextLines) {
  const std::string input =
      "# event station latitude longitude back_azimuth sigma time\n"
      "E1 A 60 10 90\n"
      "E1 B 95 10 90\n"
      "E1 C x 10 90\n"
      "E1 D 60 10 nan\n"
      "E2 F 60 10\n"
      "\n"
      "E3 G 60 10 90 0\n"
      "E3 H 60 10 90 - 2004-13-01T00:00:00\n"
      "E4 Nowhere - - 90\n"
      "E4 kiruna - - 111   # catalogue station, any case\n"
      "E4 Lycksele - - +66\n"
      "E5 A 60 10 90 1 - extra\n"
      "E5 A +-60 10 90\n"
      "E6\n"
      "- A +60 +10 +90 +4\n"
      "- B 61 11 180\n";
  const Outcome r = run({"--format=json"}, input);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "vestra-fix: <stdin>:3: latitude: \"95\" is outside [-90, 90]\n"
            "vestra-fix: <stdin>:4: latitude: \"x\" is not a number\n"
            "vestra-fix: <stdin>:5: back azimuth: \"nan\" is not a finite "
            "number\n"
            "vestra-fix: <stdin>:6: back azimuth: missing\n"
            "vestra-fix: <stdin>:8: sigma: \"0\" is outside (0, 90]\n"
            "vestra-fix: <stdin>:9: arrival time: \"2004-13-01T00:00:00\" is "
            "not an ISO 8601 time\n"
            "vestra-fix: <stdin>:10: station: \"Nowhere\" is not in the "
            "catalogue (latitude and longitude are \"-\")\n"
            "vestra-fix: <stdin>:13: line: more than 7 fields\n"
            "vestra-fix: <stdin>:14: latitude: \"+-60\" is not a number\n"
            "vestra-fix: <stdin>:15: station: missing\n");
  EXPECT_EQ(events(r.out), (std::vector<std::string>{"E1", "E2", "E3", "E4",
                                                      "E5", "E6", ""}));
  const std::vector<json> records = results(r.out);
  EXPECT_EQ(records[0]["status"], "no-fix");
  EXPECT_EQ(records[0]["detections"].size(), 1u);
  EXPECT_EQ(records[3]["status"], "ok");  // Kiruna and Lycksele
  EXPECT_NEAR(records[3]["latitude"].get<double>(), 66.17, 0.01);
  EXPECT_NEAR(records[3]["longitude"].get<double>(), 29.54, 0.01);
  EXPECT_EQ(records[6]["detections"].size(), 2u);  // "-": no event
}

// One detection JSON element per case: the message it draws ("" when it is
// read). Invalid JSON anywhere in an element costs that element; a number
// beyond a double's range is an error only in a key that is read.
TEST(FixInput, DetectionJsonElements) {
  const std::string good =
      R"("Latitude": 60, "Longitude": 10, "Back Azimuth": 90)";
  const std::string deep = std::string(100, '[') + std::string(100, ']');
  struct Case {
    std::string element, message;
  };
  const Case cases[] = {
      {"{" + good + R"(, "F Statistic": 1e999, "X": [-1e999, 1e400])" + "}",
       ""},
      {"{" + good + R"(, "Id": 123456789012345678901234567890})", ""},
      {"{" + good + R"(, "Id": "\u00e9\ud83d\ude00", "N": [{}, [], null])" +
           "}",
       ""},
      {R"({"Latitude": "60", "Longitude": 10, "Back Azimuth": 90})",
       R"("Latitude": not a number)"},
      {R"({"Longitude": 10, "Back Azimuth": 90})", R"("Latitude": missing)"},
      {R"({"Latitude": 60, "Longitude": 10, "Back Azimuth": -1e999})",
       R"("Back Azimuth": "-1e999" is out of range)"},
      {"{" + good + R"j(, "Time (UTC)": "yesterday"})j",
       R"j("Time (UTC)": "yesterday" is not an ISO 8601 time)j"},
      {"{" + good + R"j(, "Peak F-Stat Time (UTC)": 5})j",
       R"j("Peak F-Stat Time (UTC)": not an ISO 8601 time string)j"},
      {"{" + good + R"(, "Event": [1]})",
       R"("Event": not a string or a number; detection left out)"},
      {"{" + good + R"(, "Name": true})", R"("Name": not a string)"},
      {"5", "not a detection object"},
      {"[" + good + "]", "JSON syntax error at line 1: a missing or "
                         "misplaced comma, colon, brace or bracket"},
      {"{" + good + R"(, "X": tru})",
       R"(JSON syntax error at line 1: a malformed true, false or null)"},
      {"{" + good + R"(, "X": 01})",
       "JSON syntax error at line 1: a malformed number"},
      {R"({"Latitude": 60, "Longitude": 10 "Back Azimuth": 90})",
       "\"Longitude\": JSON syntax error at line 1: a missing or misplaced "
       "comma, colon, brace or bracket"},
      {"{" + good + ", \"X\": \"\xff\"}",
       "JSON syntax error at line 1: not valid UTF-8"},
      {"{" + good + R"(, "X": "\q"})",
       "JSON syntax error at line 1: a bad escape in a string"},
      {"{" + good + ", \"X\": " + deep + "}",
       "JSON syntax error at line 1: nested deeper than 64 levels"},
  };
  for (const Case& c : cases) {
    const Records r = read("[" + c.element + "]");
    ASSERT_EQ(r.records.size(), 1u) << c.element;
    EXPECT_EQ(r.records[0].usable, c.message.empty()) << c.element;
    EXPECT_EQ(r.messages,
              c.message.empty() ? "" : "vestra-fix: <stdin>: [0]: " + c.message + "\n")
        << c.element;
  }
}

// The array around the elements, and the events they make.
TEST(FixInput, BadDetectionJson) {
  const std::string input = R"js([
 {"Latitude": 60, "Longitude": 10, "Back Azimuth": 90, "Event": "A", "Name": "S1"},
 {"Latitude": "60", "Longitude": 10, "Back Azimuth": 90, "Event": "A"},
 {"Longitude": 10, "Back Azimuth": 90, "Event": "B"},
 {"Latitude": 60, "Longitude": 10, "Back Azimuth": 90, "Event": 7,
  "Peak F-Stat Time (UTC)": "yesterday"},
 {"Latitude": 60, "Longitude": 10, "Back Azimuth": 90, "Event": [1]},
 {"Latitude": 61, "Longitude": 12, "Back Azimuth": -170, "Event": "A",
  "Peak F-Stat Time (UTC)": null, "F Statistic": 3.2, "Extra": {"x": [1]}},
 {"Latitude": 61, "Longitude": 11, "Back Azimuth": 0, "Event": "C"},
 {"Event": "D", "Latitude": 61, "Longitude": 11, "Back Azimuth": 0,
  "Name": tru}
 {"Latitude": 61, "Longitude": 11, "Back Azimuth": 0, "Event": "C"
)js";
  const Outcome r = run({"--format=json"}, input);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "vestra-fix: <stdin>: [1]: \"Latitude\": not a number\n"
            "vestra-fix: <stdin>: [2]: \"Latitude\": missing\n"
            "vestra-fix: <stdin>: [3]: \"Peak F-Stat Time (UTC)\": "
            "\"yesterday\" is not an ISO 8601 time\n"
            "vestra-fix: <stdin>: [4]: \"Event\": not a string or a number; "
            "detection left out\n"
            "vestra-fix: <stdin>: [7]: \"Name\": JSON syntax error at line "
            "12: a malformed true, false or null\n"
            "vestra-fix: <stdin>:13: JSON syntax error: ',' or ']' expected "
            "after element 7\n");
  EXPECT_EQ(events(r.out), (std::vector<std::string>{"A", "B", "7", "C", "D"}));

  for (const char* array : {"{}", "[] []", "[{}", ""}) {
    const Outcome bad = run({"--format=json"}, array);
    EXPECT_EQ(bad.status, *array ? 1 : 0) << array;
  }
  EXPECT_EQ(run({}, "{\"a\": 1}").err,
            "vestra-fix: <stdin>:1: JSON syntax error: not an array of "
            "detections\n");
  EXPECT_EQ(run({}, "\n[]\n x").err,
            "vestra-fix: <stdin>:3: JSON syntax error: text after the array\n");
  EXPECT_EQ(run({}, "[\n{\"x\": [1,\n").err,
            "vestra-fix: <stdin>: [0]: JSON syntax error at line 2: an object "
            "or array is not closed\n"
            "vestra-fix: <stdin>:3: JSON syntax error: the array is not "
            "closed\n");
}

// Today's keys and the older ones; what is kept of them besides the
// bearing; the station's name from "Name", the file's name or the position.
TEST(FixInput, KeysOfBothGenerations) {
  const Records r = read(R"js([
 {"Name": "", "Time (UTC)": "2010-01-01T13:03:49", "F Stat.": 10.0,
  "Trace Vel. (m/s)": 345.5, "Back Azimuth": -74.2, "Latitude": 35.857,
  "Longitude": -106.315, "Elevation (m)": 2150, "Array Dim.": 5, "Event": ""},
 {"Name": "I57US", "Peak F-Stat Time (UTC)": "2010-01-01T13:03:49.5Z",
  "F Statistic": 4, "Trace Velocity (m/s)": null, "Back Azimuth": 12.5,
  "Latitude": 33.6, "Longitude": -116.45, "Elevation": 1100,
  "Array Dimension": 8, "Event": 3},
 {"Time (UTC)": null, "Peak F-Stat Time (UTC)": "2010-01-01T00:00:00",
  "Time (UTC)": "2010-01-01T00:00:01", "Trace Vel. (m/s)": -3,
  "F Stat.": "high", "Back Azimuth": 1, "Latitude": 1, "Longitude": 2,
  "Name": 12}
])js");
  ASSERT_EQ(r.records.size(), 3u);
  EXPECT_EQ(r.messages, "");
  // What was read, as text: not-a-number prints as "nan".
  std::vector<std::string> read;
  for (const fix::DetectionRecord& d : r.records) {
    std::ostringstream s;
    s << std::setprecision(15) << d.event << "|" << d.detection.station << " " << d.detection.time << " "
      << d.detection.back_azimuth << " " << d.detection.f_statistic << " "
      << d.detection.trace_velocity << " " << d.detection.elevation;
    read.push_back(s.str());
  }
  EXPECT_EQ(read, (std::vector<std::string>{
                      "|@35.857,-106.315 1262351029 285.8 10 345.5 2150",
                      "3|I57US 1262351029.5 12.5 4 nan 1100",
                      "|12 1262304001 1 nan nan nan"}));  // today's key first

  EXPECT_EQ(fix::file_station_code("DLIAR.dets.json"), "DLIAR");
  EXPECT_EQ(fix::file_station_code(
                "dir/SY.PDIAR_2010.01.01T12.00.00-14.00.00.dets.json"),
            "SY.PDIAR");
  for (const char* none : {"event.json", "_x.dets.json", "a_b.dets/x.json",
                           ".dets.json", "<stdin>"})
    EXPECT_EQ(fix::file_station_code(none), "") << none;
}

// Several files are one input: InfraPy's association example (four
// arrays, empty "Name" and "Event") is one unnamed event, its stations
// named after the files, with a warning; events continue across files of
// one format, not from one format into the other.
TEST(FixInputs, SeveralFilesAreOneInput) {
  std::vector<std::string> files;
  for (const char* array : {"DLIAR", "I57US", "NVIAR", "PDIAR"})
    files.push_back(std::string(DETECTIONS_DIR) + "/" + array + ".dets.json");
  std::vector<std::string> args = {"--format=json"};
  args.insert(args.end(), files.begin(), files.end());
  const Outcome infrapy = run(args, "");
  EXPECT_EQ(infrapy.status, 0);
  EXPECT_EQ(infrapy.err,
            "vestra-fix: warning: 28 detections of 4 inputs name no event and "
            "are located as one event (vestra-assoc groups detections into "
            "events)\n");
  const json event = json::parse(infrapy.out);
  ASSERT_EQ(event["detections"].size(), 28u);
  EXPECT_EQ(event["detections"][0]["station"], "DLIAR");
  EXPECT_EQ(event["detections"][27]["station"], "PDIAR");
  EXPECT_NE(event["origin_time"], nullptr);  // "Time (UTC)" was read
  EXPECT_EQ(run({"--format=json", files[0]}, "").err, "");

  const TempDir dir;
  const std::string det =
      R"("Latitude": 60, "Longitude": 10, "Back Azimuth": 90)";
  const std::string a = dir.file(
      "a.json", "[{" + det + R"(, "Event": "E1"}, {)" + det +
                    R"(, "Event": "E2"}])");
  const std::string b = dir.file(
      "b.json", "[{" + det + R"(, "Event": "E2"}, {)" + det +
                    R"(, "Event": "E3"}, {)" + det + R"(, "Event": "E1"}])");
  const std::string t1 = dir.file("t1.txt", "E1 A 60 10 90\nE2 A 60 10 90\n");
  const std::string t2 = dir.file("t2.txt", "E2 B 61 10 90\nE1 B 61 10 90\n");
  struct Case {
    std::vector<std::string> files;
    std::vector<std::string> events;
    std::vector<std::size_t> sizes;
  };
  const Case cases[] = {
      {{a, b}, {"E1", "E2", "E3"}, {2, 2, 1}},
      {{t1, t2}, {"E1", "E2", "E1"}, {1, 2, 1}},
      {{t1, a, t2}, {"E1", "E2", "E1", "E2", "E2", "E1"}, {1, 1, 1, 1, 1, 1}},
      {{a, "-", b}, {"E1", "E2", "E3"}, {2, 2, 1}},
  };
  for (const Case& c : cases) {
    std::vector<std::string> run_args = {"--format=json"};
    run_args.insert(run_args.end(), c.files.begin(), c.files.end());
    const Outcome r = run(run_args, "");
    EXPECT_EQ(events(r.out), c.events) << r.err;
    EXPECT_EQ(sizes(r.out), c.sizes);
  }
}

// Inputs longer than the blocks they are read in: lines, elements and
// strings across the blocks' ends, and the line numbers after them.
TEST(FixInputs, LongInputs) {
  std::string text, json = "[\n";
  for (int i = 0; i < 4000; ++i) {
    text += "E" + std::to_string(i / 2) + " A 60 10 " + std::to_string(i % 360) + "\n";
    json += R"( {"Latitude": 60, "Longitude": 10, "Back Azimuth": )" +
            std::to_string(i % 360) + "},\n";
  }
  const std::string note(200000, 'x');
  const std::string long_element =
      R"({"Latitude": 60, "Longitude": 10, "Back Azimuth": 1, "Note": ")" +
      note + "\"}";
  text += "E9 " + note + " 60 10 x\nE9 A 60 10 1";
  json += " " + long_element + ",\n {\"Latitude\": x}\n]";
  const Records t = read(text);
  EXPECT_EQ(t.records.size(), 4002u);
  EXPECT_EQ(t.records[3999].detection.back_azimuth, 3999 % 360);
  EXPECT_EQ(t.messages,
            "vestra-fix: <stdin>:4001: back azimuth: \"x\" is not a number\n");
  const Records j = read(json, true);
  ASSERT_EQ(j.records.size(), 4002u);
  EXPECT_EQ(j.records[3999].detection.back_azimuth, 3999 % 360);
  EXPECT_EQ(j.records[3999].raw.text,
            R"({"Latitude": 60, "Longitude": 10, "Back Azimuth": 39})");
  EXPECT_EQ(j.records[4000].raw.text, long_element);
  EXPECT_EQ(j.messages,
            "vestra-fix: <stdin>: [4001]: \"Latitude\": JSON syntax error at "
            "line 4003: a missing or misplaced comma, colon, brace or "
            "bracket\n");
}

// JSON parsed on a thread of its own (--jobs above 1) gives the same
// results and messages, in the same order, as on one.
TEST(FixInputs, SameOnAnyNumberOfThreads) {
  const TempDir dir;
  std::vector<std::string> args = {"--format=json"};
  for (int file = 0; file < 2; ++file) {
    std::string json = "[";
    for (int i = 0; i < 1500; ++i)
      json += std::string(i ? ",\n" : "") + R"({"Latitude": )" +
              (i % 97 ? "60" : "95") + R"(, "Longitude": 10, "Back Azimuth": )" +
              std::to_string((i * 7) % 360) + R"(, "Event": "E)" +
              std::to_string((i + file * 700) / 3 % 800) + "\"}";
    args.push_back(dir.file("d" + std::to_string(file) + ".json", json + "]"));
  }
  args.push_back(dir.file("t.txt", "E5 A 60 10 90\n"));
  const Outcome one = run(args, "");
  args.push_back("--jobs=3");
  const Outcome three = run(args, "");
  EXPECT_EQ(one.status, 1);
  EXPECT_EQ(events(one.out).size(), 735u);  // E0 to E733, and E5 of the text
  EXPECT_EQ(one.err, three.err);
  EXPECT_TRUE(one.out == three.out);
}

// A stream buffer that gives `text` up to byte `limit` and then fails as
// a failing read(2) makes the standard library's file buffer fail.
class FailingBuffer : public std::streambuf {
 public:
  FailingBuffer(std::string text, std::size_t limit) : text_(std::move(text)) {
    fails_ = limit < text_.size();
    setg(text_.data(), text_.data(), text_.data() + (fails_ ? limit : text_.size()));
  }

 protected:
  int_type underflow() override {
    if (fails_)
      throw std::ios_base::failure(
          "read", std::error_code(EIO, std::generic_category()));
    return traits_type::eof();
  }

 private:
  std::string text_;
  bool fails_;
};

// What a failing or odd input does: a read error is reported and ends its
// input, every event begun is still located; a byte-order mark is skipped;
// a directory or a missing file is reported and the other inputs read.
TEST(FixInputs, Faults) {
  // Lines of 17 bytes, two to an event: byte 1000 cuts line 59, the first
  // of event 30; the 58 whole lines before it are located, the cut one is
  // left out rather than read short.
  std::string catalogue;
  for (int e = 10; e < 60; ++e)
    for (const char* line : {" A 60 10 090\n", " B 61 12 200\n"})
      catalogue += "ev" + std::to_string(e) + line;
  FailingBuffer failing(catalogue, 1000);
  std::istream in(&failing);
  const Outcome cut = run({"--format=json"}, in);
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(cut.err, "vestra-fix: <stdin>: cannot read: Input/output error\n");
  std::vector<std::string> begun;
  for (int e = 10; e < 39; ++e) begun.push_back("ev" + std::to_string(e));
  EXPECT_EQ(events(cut.out), begun);
  EXPECT_EQ(sizes(cut.out), std::vector<std::size_t>(29, 2));

  const std::string json_events =
      R"([{"Latitude": 60, "Longitude": 10, "Back Azimuth": 90, "Event": "E1"},
          {"Latitude": 61, "Longitude": 12, "Back Azimuth": 200, "Event": "E2"},
          {"Latitude": 61, "Longitude": 12, "Back Azimuth": 200, "Event": "E3"}])";
  FailingBuffer failing_json(json_events, json_events.rfind("E3"));
  std::istream json_in(&failing_json);
  const Outcome json_cut = run({"--format=json"}, json_in);
  EXPECT_EQ(json_cut.status, 1);
  EXPECT_EQ(json_cut.err,
            "vestra-fix: <stdin>: cannot read: Input/output error\n");
  EXPECT_EQ(events(json_cut.out), (std::vector<std::string>{"E1", "E2"}));

  const std::string bom = "\xEF\xBB\xBF";
  EXPECT_EQ(events(run({"--format=json"}, bom + "E1 A 60 10 90\nE1 B 61 12 200\n")
                       .out),
            std::vector<std::string>{"E1"});
  const Outcome json_bom = run({"--format=json"}, bom + json_events);
  EXPECT_EQ(json_bom.err, "");
  EXPECT_EQ(events(json_bom.out),
            (std::vector<std::string>{"E1", "E2", "E3"}));

  const TempDir dir;
  const std::string good = dir.file("good.txt", "E1 A 60 10 90\n");
  const Outcome skipped = run(
      {"--format=json", dir.path.string(), (dir.path / "none.txt").string(),
       "/proc/self/mem", good},
      "");
  EXPECT_EQ(skipped.status, 1);
  EXPECT_EQ(skipped.err,
            "vestra-fix: " + dir.path.string() + ": is a directory\n" +
                "vestra-fix: " + (dir.path / "none.txt").string() +
                ": cannot open: No such file or directory\n" +
                "vestra-fix: /proc/self/mem: cannot read: Input/output "
                "error\n");
  EXPECT_EQ(events(skipped.out), std::vector<std::string>{"E1"});
}

// Elements kept as written, and written back with their event set: every
// other byte unchanged, "Name" filled only where it is empty.
TEST(FixInputs, KeptElementsAreWrittenBack) {
  const std::string det =
      R"("Latitude": 1, "Longitude": 2, "Back Azimuth": 3)";
  struct Case {
    std::string element, event, name, written;
  };
  const Case cases[] = {
      {"{" + det + R"(, "Name": "", "Event": "", "X": {"a": [1, 2e999]}})",
       R"("E1")", R"("DLIAR")",
       "{" + det + R"(, "Name": "DLIAR", "Event": "E1", "X": {"a": [1, 2e999]}})"},
      {"{\n  \"Event\" : null, " + det + ",\n  \"Name\": \"A\\\"B\"\n}",
       R"("E2")", R"("Z")",
       "{\n  \"Event\" : \"E2\", " + det + ",\n  \"Name\": \"A\\\"B\"\n}"},
      {"{ " + det + " , \"N\\u0061me\": \"x\" }", "7", R"("Z")",
       "{ " + det + " , \"N\\u0061me\": \"x\", \"Event\": 7 }"},
      {"{" + det + "}", R"("E4")", R"("S")",
       "{" + det + R"(, "Event": "E4", "Name": "S"})"},
      {"{}", R"("E5")", "", R"({"Event": "E5"})"},
  };
  for (const Case& c : cases) {
    const Records r = read("[" + c.element + ",\n5]", true);
    ASSERT_EQ(r.records.size(), 2u) << c.element;
    EXPECT_EQ(r.records[0].raw.text, c.element);
    EXPECT_EQ(r.records[0].raw.with_event(c.event, c.name), c.written);
    EXPECT_EQ(r.records[1].raw.text, "5");
  }
}

}  // namespace
