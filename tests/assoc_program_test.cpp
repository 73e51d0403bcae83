// vestra-assoc as a whole program, run in-process: what it writes for each
// kind of detection (associated, given an event, without a time, refused),
// the labels, and how it writes detection JSON on one line.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "assoc/output.h"
#include "assoc/program.h"
#include "in_process.h"

namespace {

namespace fs = std::filesystem;

Outcome run(const std::vector<std::string>& args, const std::string& input) {
  return run_main(assoc::assoc_main, args, input);
}

// Every usable detection goes to one of the two outputs; an event given in
// the input stays as it is; bad ones are named and left out.
TEST(AssocProgram, EveryDetectionWrittenOnceOrReported) {
  TempDir dir;
  const std::string input =
      "quarry K1 67.8 20.4 111 - 2010-01-01T12:00:00\n"
      "- X 91 20 100 - 2010-01-01T12:00:00\n"
      "quarry L1 64 14 66 2.5 2010-01-01T12:03:00.25\n"
      "- Y 60 20 100 - 3001-01-01T00:00:00\n"
      "- Z 60 20 100\n"
      "- W 61 21 45.5 - 2010-01-01T13:00:00\n";
  const fs::path un = dir.path / "un.txt";
  const Outcome o =
      run({"--format=text", "--unassociated=" + un.string()}, input);
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.err,
            "vestra-assoc: <stdin>:2: latitude: \"91\" is outside [-90, 90]\n"
            "vestra-assoc: <stdin>:4: arrival time outside the years 1000 "
            "to 2899\n");
  EXPECT_EQ(o.out,
            "quarry K1 67.8 20.4 111 - 2010-01-01T12:00:00Z\n"
            "quarry L1 64 14 66 2.5 2010-01-01T12:03:00.25Z\n");
  EXPECT_EQ(read_text(un), "- W 61 21 45.5 - 2010-01-01T13:00:00Z\n"
                       "- Z 60 20 100 - -\n");
  // The same detections as JSON, made from the text.
  const Outcome j = run({"--unassociated=" + un.string()}, input);
  EXPECT_EQ(j.out.substr(0, 113),
            "[\n{\"Name\": \"K1\", \"Time (UTC)\": \"2010-01-01T12:00:00Z\", "
            "\"Back Azimuth\": 111, \"Latitude\": 67.8, \"Longitude\": 20.4, ");
  EXPECT_EQ(read_text(un),
            "[\n{\"Name\": \"W\", \"Time (UTC)\": \"2010-01-01T13:00:00Z\", "
            "\"Back Azimuth\": 45.5, \"Latitude\": 61, \"Longitude\": 21, "
            "\"Event\": \"\"},\n"
            "{\"Name\": \"Z\", \"Time (UTC)\": null, \"Back Azimuth\": 100, "
            "\"Latitude\": 60, \"Longitude\": 20, \"Event\": \"\"}\n]\n");
}

// Events found are named after their origin times; a name already given in
// the input gets the next free suffix.
TEST(AssocProgram, LabelsFromOriginTimes) {
  const std::string dir = DETECTIONS_DIR;
  std::vector<std::string> files;
  for (const char* a : {"DLIAR", "I57US", "NVIAR", "PDIAR"})
    files.push_back(dir + "/" + a + ".dets.json");
  files.push_back("-");
  const Outcome o = run(files, "20100101T121011 X 60 20 100\n");
  EXPECT_EQ(o.status, 0) << o.err;
  for (const char* label : {"\"Event\": \"20100101T121011-2\"",
                            "\"Event\": \"20100101T121052\"",
                            "\"Event\": \"20100101T125115\""})
    EXPECT_NE(o.out.find(label), std::string::npos) << label;
  // The event given, without a time, comes last.
  EXPECT_EQ(o.out.substr(o.out.rfind('\n', o.out.size() - 4)),
            "\n{\"Name\": \"X\", \"Time (UTC)\": null, \"Back Azimuth\": 100, "
            "\"Latitude\": 60, \"Longitude\": 20, \"Event\": "
            "\"20100101T121011\"}\n]\n");
}

TEST(AssocOutput, OneLineKeepsEveryByteButLineBreaks) {
  const std::pair<const char*, const char*> cases[] = {
      {"{\n  \"a\": 1,\n  \"b\": [\n    1,  2\n  ]\n}", "{\"a\": 1, \"b\": [1,  2]}"},
      {"{\"s\": \"x\\\"\n  }\", \"t\": \"{\\n\"\r\n}", "{\"s\": \"x\\\"\n  }\", \"t\": \"{\\n\"}"},
      {"{ \"a\" :\t1 }", "{ \"a\" :\t1 }"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(assoc::one_line(in), out) << in;
}

TEST(AssocOutput, ExactTimes) {
  const std::pair<double, const char*> cases[] = {
      {1262347200.0, "2010-01-01T12:00:00Z"},
      {1262347200.5, "2010-01-01T12:00:00.5Z"},
      {1262347199.9999996, "2010-01-01T12:00:00Z"},
      {-0.25, "1969-12-31T23:59:59.75Z"},
  };
  for (const auto& [t, text] : cases) EXPECT_EQ(assoc::exact_time(t), text) << t;
}

}  // namespace
