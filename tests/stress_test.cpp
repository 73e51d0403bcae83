// Random command lines against the built program: catalog, short and ad-hoc
// stations, bearings inside and outside 0..360, every writer, the settings,
// option prefixes (ambiguous ones too), junk words and missing values, each
// run in a fresh working directory. Whatever the arguments, the program must
// exit with 0 or 1 without a sanitizer report; when it refuses, write nothing
// (or the help text) and no log line; when it computes, write well-formed
// output for the writer in effect (unless tracing), one result per pair, and
// one whole log line unless --no-log. No argument holds a line end, which the
// log would rightly write across two lines.
// VESTRA_STRESS_CASES (default 300) and VESTRA_STRESS_SEED (default 20240607)
// set the runs; a failure names the seed, the case and the arguments.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "run_program.h"
#include "vestra.h"

namespace {

using Args = std::vector<std::string>;
enum class Writer { normal, clean, gps, json };
const char* const station_letters = "kKjJlLubawfesx";

// What the options of a command line add up to, as far as the checks need.
struct Model {
  Writer writer = Writer::normal;
  bool space = false, debug = false, no_log = false, display = false;
  int sources = 0;
};

long env_number(const char* name, long fallback) {
  const char* v = std::getenv(name);
  return v && *v ? std::strtol(v, nullptr, 10) : fallback;
}

// The long option that getopt_long takes for `name` (full or abbreviated), or
// nullptr when there is none or it is ambiguous.
const option* resolve(const std::string& name) {
  const option* found = nullptr;
  bool ambiguous = false;
  for (const option* o = long_options; o->name; ++o) {
    if (name == o->name) return o;
    if (std::strncmp(o->name, name.c_str(), name.size()) != 0) continue;
    if (!found)
      found = o;
    else if (o->has_arg != found->has_arg || o->flag != found->flag ||
             o->val != found->val)
      ambiguous = true;
  }
  return ambiguous ? nullptr : found;
}

bool is_station_code(int code) {
  // strchr would take the low byte of a long-only code (256 is '\0').
  return (code > 0 && code < 128 && std::strchr(station_letters, code)) ||
         (code >= 260 && code < 269 && (code < 261 || code > 263)) ||
         code >= 273;
}

void apply(Model& m, const option& o) {
  const std::string n = o.name;
  if (n == "clean") m.writer = Writer::clean;
  else if (n == "gps") m.writer = Writer::gps;
  else if (n == "json") m.writer = Writer::json;
  else if (n == "normal") m.writer = Writer::normal;
  else if (n == "space") m.space = true;
  else if (n == "debug") m.debug = true;
  else if (n == "no-log") m.no_log = true;
  else if (n == "display") m.display = true;
  else if (o.has_arg == required_argument && !o.flag && is_station_code(o.val))
    m.sources += 1;
}

// Adds an option and its value, joined (with `joint`) or as two arguments.
void add(Args& args, const std::string& flag, const std::string& value,
         bool joined, const char* joint) {
  if (joined) return args.push_back(flag + joint + value);
  args.push_back(flag);
  args.push_back(value);
}

class Generator {
 public:
  explicit Generator(unsigned seed) : rng_(seed) {}

  int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  bool chance(double p) { return std::bernoulli_distribution(p)(rng_); }
  double uniform(double a, double b) {
    return std::uniform_real_distribution<double>(a, b)(rng_);
  }
  std::string number(double v) {
    std::ostringstream s;
    s.precision(1 + pick(10));
    s << v;
    return s.str();
  }
  std::string junk() {
    static const char* const words[] = {
        "",  " ",  "north", "inf", "-inf", "nan", "1e999", "1e-999", "0x1f",
        "12abc", ":", "::3", "1:2:3:4", "-", "--", "x*y", "a b", "\"q\"", "é",
        "+", "."};
    return words[pick(std::size(words))];
  }
  std::string bearing() {
    switch (pick(8)) {
      case 0: return number(uniform(-720, 720));
      case 1: return chance(0.5) ? "1e300" : "-1e300";
      case 2: return junk();
      case 3: return number(uniform(0, 360)) + ":" + number(uniform(0, 5));
      default: return number(uniform(0, 360));
    }
  }
  std::string coordinate(double limit) {
    switch (pick(10)) {
      case 0: return "1000";
      case 1: return chance(0.5) ? "1e300" : number(uniform(-400, 400));
      case 2: return junk();
      case 3: return number(chance(0.5) ? limit : -limit);
      default: return number(uniform(-limit, limit));
    }
  }
  std::string new_station() {
    std::string v = "N" + std::to_string(pick(5)) + ":" + coordinate(90) +
                    ":" + coordinate(180) + ":" + bearing();
    if (chance(0.2)) v += ":" + (chance(0.5) ? number(uniform(0, 3)) : junk());
    if (chance(0.05)) v.resize(pick(static_cast<int>(v.size()) + 1));
    return v;
  }

  // The value for an option that takes one.
  std::string value_for(const std::string& n) {
    if (n == "new-station") return new_station();
    if (n == "angle") return chance(0.8) ? number(uniform(0, 90)) : bearing();
    if (n == "sbaz") return chance(0.8) ? number(uniform(0, 3)) : bearing();
    if (n == "ellipsoid") return chance(0.85) ? std::to_string(pick(28) - 1) : junk();
    if (n == "xxx-lat") return coordinate(95);
    if (n == "xxx-long") return coordinate(185);
    if (n == "xxx-name") return chance(0.8) ? "Here" : junk();
    return bearing();
  }

  // Any long option, in full or abbreviated.
  void long_option(Args& args, Model& m) {
    const option& o = long_options[pick(std::size(long_options) - 1)];
    std::string name = o.name;
    if (chance(0.15) && name.size() > 2)
      name.resize(1 + pick(static_cast<int>(name.size()) - 1));
    if (o.has_arg == required_argument) {
      const std::string value = value_for(o.name);
      add(args, "--" + name, value, chance(0.5), "=");
    } else {
      args.push_back("--" + name);
    }
    if (const option* taken = resolve(name)) apply(m, *taken);
  }

  void short_option(Args& args, Model& m) {
    static const char letters[] = "kKjJlLubawfesxcvCAX";
    const char c = letters[pick(sizeof letters - 1)];
    const std::string flag = std::string("-") + c;
    if (c == 'c' || c == 'C') {
      args.push_back(flag);
      if (c == 'c') m.writer = Writer::clean;
      return;
    }
    const std::string value = c == 'v' ? number(uniform(0, 90)) : bearing();
    add(args, flag, value, chance(0.5) && !value.empty(), "");
    if (std::strchr(station_letters, c)) m.sources += 1;
  }

  // A command line and what its options amount to. Options after a "--" are
  // plain words to getopt_long, so the model stops counting there.
  Args command_line(Model& m) {
    Args args;
    std::vector<int> kinds(1 + pick(4), 0);  // mostly 2 to 4 stations
    for (int extras = pick(5); extras > 0; --extras) kinds.push_back(1 + pick(8));
    std::shuffle(kinds.begin(), kinds.end(), rng_);
    Model ignored;
    Model* target = &m;
    for (int k : kinds) {
      switch (k) {
        case 0:
          if (chance(0.4)) {
            args.push_back("--new-station=" + new_station());
            target->sources += 1;
          } else if (chance(0.5)) {
            short_option(args, *target);
          } else {  // a catalog option in full
            const option& o = long_options[42 + pick(55)];
            args.push_back(std::string("--") + o.name + "=" + bearing());
            target->sources += 1;
          }
          break;
        case 1: case 2: case 3:
          long_option(args, *target);
          break;
        case 4: {
          static const char* const writers[] = {"--clean", "--gps",   "--json",
                                                "--normal", "--space", "-c"};
          args.push_back(writers[pick(6)]);
          if (args.back() == "-c") target->writer = Writer::clean;
          else apply(*target, *resolve(args.back().substr(2)));
          break;
        }
        case 5:
          args.push_back(chance(0.5) ? "--norsar" : "--original");
          break;
        case 6:  // a word that is no option: ignored, unless it starts with "-"
          args.push_back(junk());
          if (args.back() == "--") target = &ignored;
          break;
        case 7:
        case 8:
          if (chance(k == 7 ? 0.3 : 0.1)) {
            args.push_back(k == 7 ? "--no-log" : chance(0.7) ? "--debug" : "--display");
            apply(*target, *resolve(args.back().substr(2)));
          }
          break;
      }
    }
    // Sometimes an option that takes a value comes last without one.
    if (chance(0.05)) args.push_back(chance(0.5) ? "--angle" : "-k");
    return args;
  }

 private:
  std::mt19937 rng_;
};

// ------------------------------------------------------------ output checks

bool full_number(const std::string& s) {
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  return !s.empty() && *end == '\0' && std::isfinite(v);
}

Args split(const std::string& s, char sep, bool space = false) {
  Args parts;
  std::istringstream in(s);
  for (std::string part; std::getline(in, part, sep);)
    if (!(space && part.empty())) parts.push_back(part);
  if (sep != '\n' && !s.empty() && s.back() == sep) parts.push_back("");
  return parts;
}

// "arc=lon,lat,lon,lat" or "line=lon,lat,bearing,120000".
bool normal_word(const std::string& w) {
  const auto eq = w.find('=');
  if (eq == std::string::npos || (w.substr(0, eq) != "arc" && w.substr(0, eq) != "line"))
    return false;
  const Args parts = split(w.substr(eq + 1), ',');
  return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), full_number);
}

// Longitude first, "E29 32.550 N66 10.489": hemisphere letter, whole degrees,
// blank, minutes with three decimals; or the line of an invalid result.
bool gps_line(const std::string& line) {
  if (line == "N00 00.000 E00 00.000") return true;
  const auto digits = [](const std::string& t) {
    return !t.empty() && std::all_of(t.begin(), t.end(), [](char c) {
      return std::isdigit(static_cast<unsigned char>(c)) != 0;
    });
  };
  const auto degrees = [&](const std::string& t, const char* letters) {
    if (t.empty() || std::string(letters).find(t[0]) == std::string::npos)
      return false;
    const std::string d = t.substr(t[1] == '-' ? 2 : 1);
    return digits(d);
  };
  const auto minutes = [&](const std::string& t) {
    const auto dot = t.find('.');
    return dot != std::string::npos && digits(t.substr(0, dot)) &&
           t.size() - dot == 4 && digits(t.substr(dot + 1));
  };
  const Args t = split(line, ' ');
  return t.size() == 4 && degrees(t[0], "EW") && minutes(t[1]) &&
         degrees(t[2], "NS") && minutes(t[3]);
}

void check_output(const Model& m, const std::string& out, const std::string& where) {
  const int pairs = m.sources * (m.sources - 1) / 2;
  EXPECT_TRUE(out.empty() || out.back() == '\n') << where << "no final line end";
  if (m.writer == Writer::json) {
    nlohmann::json j;
    try {
      j = nlohmann::json::parse(out);
    } catch (const std::exception& e) {
      ADD_FAILURE() << where << "JSON: " << e.what() << "\n" << out;
      return;
    }
    ASSERT_TRUE(j.is_array()) << where;
    EXPECT_EQ(static_cast<int>(j.size()), 2 * pairs) << where;
    for (const auto& e : j)
      EXPECT_TRUE(e.contains("arc") || e.contains("line")) << where << e;
    return;
  }
  if (m.writer == Writer::normal) {
    std::istringstream in(out);
    int words = 0;
    for (std::string w; in >> w; ++words)
      EXPECT_TRUE(normal_word(w)) << where << "word: " << w;
    EXPECT_EQ(words, 2 * pairs) << where;
    return;
  }
  const Args lines = split(out, '\n', m.space);
  for (const auto& line : lines) {
    if (m.writer == Writer::gps) {
      EXPECT_TRUE(gps_line(line)) << where << "line: " << line;
      continue;
    }
    const Args fields = split(line, ' ');
    EXPECT_EQ(fields.size(), 4u) << where << "line: " << line;
    EXPECT_TRUE(std::all_of(fields.begin(), fields.end(), full_number))
        << where << "line: " << line;
  }
  EXPECT_EQ(static_cast<int>(lines.size()), pairs) << where;
}

TEST(Stress, RandomCommandLines) {
  // The generator takes the catalog options from index 42 on, 55 of them.
  ASSERT_STREQ(long_options[42].name, "Kiruna");
  ASSERT_STREQ(long_options[96].name, "Default");
  ASSERT_EQ(std::size(long_options), 98u);

  const long cases = env_number("VESTRA_STRESS_CASES", 300);
  const auto seed = static_cast<unsigned>(env_number("VESTRA_STRESS_SEED", 20240607));
  Generator gen(seed);
  ProgramRun listing_run;
  listing_run.args = {"--display"};
  const std::string listing = run_program(VESTRA_BINARY, listing_run).out;
  // The help text up to "Usage:", taken from the program itself: its version
  // line holds its own build time.
  const std::string help = run_program(VESTRA_BINARY, ProgramRun{}).out;
  const auto usage_at = help.find("\nUsage:\n");
  ASSERT_NE(usage_at, std::string::npos) << help;
  const std::string help_start = help.substr(0, usage_at + 8);

  Args env{"LC_ALL=C", "TZ=UTC", "PATH=/usr/bin:/bin"};
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
    if (const char* v = std::getenv(name)) env.push_back(std::string(name) + "=" + v);

  int computed = 0, refused = 0;
  for (long i = 0; i < cases; ++i) {
    Model m;
    ProgramRun run;
    run.env = env;
    run.args = gen.command_line(m);
    if (gen.chance(0.1))
      run.argv0 = gen.chance(0.5) ? "vnorsar" : "/opt/x/Vestra.EXE";
    std::string where =
        "seed " + std::to_string(seed) + " case " + std::to_string(i) + ":";
    for (const auto& a : run.args) where += " '" + a + "'";
    where += "\n";
    const ProgramResult r = run_program(VESTRA_BINARY, run);

    ASSERT_TRUE(r.status == 0 || r.status == 1)
        << where << "status " << r.status << "\n" << r.err.substr(0, 2000);
    EXPECT_EQ(r.err.find("runtime error"), std::string::npos) << where << r.err;
    EXPECT_EQ(r.err.find("Sanitizer"), std::string::npos) << where << r.err;
    const auto log_lines = std::count(r.log.begin(), r.log.end(), '\n');
    EXPECT_LE(log_lines, 1) << where;
    EXPECT_TRUE(r.log.empty() || r.log.back() == '\n') << where << "torn log line";

    if (r.status == 1) {
      ++refused;
      EXPECT_TRUE(r.out.empty() || r.out.rfind(help_start, 0) == 0)
          << where << "output of a refused run:\n" << r.out.substr(0, 500);
      EXPECT_EQ(log_lines, 0) << where;
      continue;
    }
    if (m.display && r.out == listing) continue;
    ++computed;
    EXPECT_GE(m.sources, 2) << where;
    EXPECT_EQ(log_lines, m.no_log ? 0 : 1) << where;
    if (!m.debug) check_output(m, r.out, where);
    if (HasFailure()) break;  // one reported case is enough to go on with
  }
  // The generator must keep both kinds of run common.
  EXPECT_GT(computed, cases / 10);
  EXPECT_GT(refused, cases / 10);
  std::printf("%ld cases: %d computed, %d refused\n", cases, computed, refused);
}

}  // namespace
