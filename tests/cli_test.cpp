// The command line shared by the companion programs: the number reader,
// the quoting of values, and one table of option cases that every
// companion's main must answer in the same grammar and message form.

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "assoc/program.h"
#include "cli/command_line.h"
#include "fix/program.h"
#include "in_process.h"
#include "map/map_main.h"

namespace {

TEST(Numbers, WholeValueOrAReason) {
  struct Case {
    const char* text;
    double value;         // when accepted
    const char* problem;  // "" when accepted
  };
  const Case cases[] = {
      {"120", 120, ""},
      {"+120", 120, ""},
      {"-1.5e2", -150, ""},
      {"0.5", 0.5, ""},
      {"1e-999", 0, ""},
      {"-1e-400", -0.0, ""},
      {"0.0000000000000000000000001e-300", 0, ""},
      {"", 0, "\"\" is not a number"},
      {" 120", 0, "\" 120\" is not a number"},
      {"120 ", 0, "\"120 \" is not a number"},
      {"12x", 0, "\"12x\" is not a number"},
      {"0x10", 0, "\"0x10\" is not a number"},
      {"++1", 0, "\"++1\" is not a number"},
      {"+-1", 0, "\"+-1\" is not a number"},
      {"1,5", 0, "\"1,5\" is not a number"},
      {"nan", 0, "\"nan\" is not a finite number"},
      {"-inf", 0, "\"-inf\" is not a finite number"},
      {"+infinity", 0, "\"+infinity\" is not a finite number"},
      {"1e999", 0, "\"1e999\" is out of range"},
      {"-1e400", 0, "\"-1e400\" is out of range"},
      {"1000000000000000000000e300", 0, "\"1000000000000000000000e300\" is out of range"},
      {"1e99999999999999999999", 0, "\"1e99999999999999999999\" is out of range"},
      {"1e-99999999999999999999", 0, ""},
  };
  for (const Case& c : cases) {
    double v = 7.0;
    EXPECT_EQ(cli::read_number(c.text, v), c.problem) << c.text;
    EXPECT_EQ(v, *c.problem ? 7.0 : c.value) << c.text;
    if (!*c.problem) {
      EXPECT_EQ(std::signbit(v), std::signbit(c.value)) << c.text;
    }
  }
}

TEST(Numbers, RangesAndIntegers) {
  double v = 0;
  EXPECT_EQ(cli::read_number("90", {-90, 90}, v), "");
  EXPECT_EQ(cli::read_number("90.0001", {-90, 90}, v),
            "\"90.0001\" is outside [-90, 90]");
  EXPECT_EQ(cli::read_number("0", {0, 90, true}, v), "\"0\" is outside (0, 90]");
  EXPECT_EQ(cli::read_number("1e6", {0, 1e6, false, true}, v),
            "\"1e6\" is outside [0, 1e+06)");
  long long n = 0;
  EXPECT_EQ(cli::read_integer("+25", 1, 25, n), "");
  EXPECT_EQ(n, 25);
  EXPECT_EQ(cli::read_integer("26", 1, 25, n), "\"26\" is outside [1, 25]");
  EXPECT_EQ(cli::read_integer("99999999999999999999", 1, 25, n),
            "\"99999999999999999999\" is outside [1, 25]");
  EXPECT_EQ(cli::read_integer("2.5", 1, 25, n), "\"2.5\" is not a whole number");
  EXPECT_EQ(cli::read_integer("2x", 1, 25, n), "\"2x\" is not a number");
  EXPECT_EQ(cli::read_integer("", 1, 25, n), "\"\" is not a number");
}

TEST(Quote, BoundedAndNeverInsideACharacter) {
  EXPECT_EQ(cli::quote("abc"), "\"abc\"");
  const std::string exact(64, 'x');
  EXPECT_EQ(cli::quote(exact), "\"" + exact + "\"");
  EXPECT_EQ(cli::quote(exact + "y"), "\"" + exact + "\"... (65 bytes)");
  // "é" is two bytes: the 64th byte starts it, so the cut comes before it.
  const std::string accents = std::string(63, 'x') + "\xc3\xa9" + "zz";
  EXPECT_EQ(cli::quote(accents), "\"" + std::string(63, 'x') + "\"... (67 bytes)");
}

// A stream that refuses every byte, as standard output on a full disk.
struct FullDisk : std::streambuf {
  int overflow(int) override { return traits_type::eof(); }
};

using Main = int (*)(const std::vector<std::string>&, std::istream&,
                     std::ostream&, std::ostream&);

struct Program {
  const char* name;
  Main main;
  bool locates;  // has -j/--jobs and the location options
};

const Program kPrograms[] = {
    {"vestra-fix", fix::fix_main, true},
    {"vestra-map", vestra::map::map_main, false},
    {"vestra-assoc", assoc::assoc_main, true},
};

Outcome run(const Program& p, const std::vector<std::string>& args) {
  return run_main(p.main, args);
}

// The cases every companion answers alike; "@" stands for the program's
// name in the expected text.
TEST(CommandLine, OneGrammarForEveryCompanion) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* out_prefix;  // standard output starts so
    const char* err;         // the whole standard error
    bool needs_location = false;  // only for the programs that locate
  };
  const Case cases[] = {
      {{"--version"}, 0, "@ (vestra Ver: ", ""},
      {{"--vers"}, 0, "@ (vestra Ver: ", ""},
      {{"--help"}, 0, "Usage: @ ", ""},
      {{"-h"}, 0, "Usage: @ ", ""},
      {{"--he"}, 0, "Usage: @ ", ""},
      {{"--help=yes"}, 1, "",
       "@: option --help takes no value\nTry '@ --help'.\n"},
      {{"--bogus=3"}, 1, "", "@: unknown option \"--bogus\"\nTry '@ --help'.\n"},
      {{"-Q"}, 1, "", "@: unknown option \"-Q\"\nTry '@ --help'.\n"},
      {{"--jobs"}, 1, "", "@: option --jobs needs a value\nTry '@ --help'.\n",
       true},
      {{"-j"}, 1, "", "@: option -j needs a value\nTry '@ --help'.\n", true},
      {{"--jobs=0"}, 1, "",
       "@: --jobs: \"0\" is outside [1, 1024]\nTry '@ --help'.\n", true},
      {{"--jo", "1.5"}, 1, "",
       "@: --jobs: \"1.5\" is not a whole number\nTry '@ --help'.\n", true},
      {{"-jx"}, 1, "", "@: -j: \"x\" is not a number\nTry '@ --help'.\n", true},
      {{"-j", "+2", "--version"}, 0, "@ (vestra Ver: ", "", true},
      {{"--cel=0.3:0.2"}, 1, "",
       "@: --celerity: \"0.3:0.2\" has MIN above MAX (km/s, MIN:MAX or one "
       "value)\nTry '@ --help'.\n",
       true},
      {{"--sigma", "0", "--help"}, 1, "",
       "@: --sigma: \"0\" is outside [0.001, 90]\nTry '@ --help'.\n", true},
      {{"--pick-error=0", "--celerity=0.3"}, 1, "",
       "@: --pick-error: \"0\" with a single --celerity leaves the arrival "
       "times no error; give a pick error above 0\nTry '@ --help'.\n",
       true},
      {{"--ellipsoid=26"}, 1, "",
       "@: --ellipsoid: \"26\" is outside [1, 25]\nTry '@ --help'.\n", true},
  };
  auto named = [](std::string text, const std::string& name) {
    for (std::size_t at; (at = text.find('@')) != std::string::npos;)
      text.replace(at, 1, name);
    return text;
  };
  for (const Program& p : kPrograms)
    for (const Case& c : cases) {
      if (c.needs_location && !p.locates) continue;
      const Outcome o = run(p, c.args);
      const std::string label = std::string(p.name) + " " + c.args[0];
      EXPECT_EQ(o.status, c.status) << label;
      EXPECT_EQ(o.out.substr(0, named(c.out_prefix, p.name).size()),
                named(c.out_prefix, p.name))
          << label;
      EXPECT_EQ(o.err, named(c.err, p.name)) << label;
      if (std::string(c.out_prefix).find("Ver") != std::string::npos) {
        EXPECT_EQ(o.out.back(), '\n') << label;
      }
    }
}

TEST(CommandLine, HelpOnAFullDiskFails) {
  for (const Program& p : kPrograms) {
    FullDisk full;
    std::ostream out(&full);
    std::istringstream in;
    std::ostringstream err;
    EXPECT_EQ(p.main({"--help"}, in, out, err), 1) << p.name;
    EXPECT_EQ(err.str().rfind(std::string(p.name) +
                                  ": cannot write the output",
                              0),
              0u)
        << err.str();
  }
}

}  // namespace
