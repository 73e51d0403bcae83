// Random command lines against the built program. A seeded generator mixes
// plausible and implausible arguments: catalog and short station options,
// ad-hoc stations, bearings inside and outside 0..360, every writer, the
// settings, option prefixes (ambiguous ones too), junk words and missing
// values. Each run happens in a fresh working directory; whatever the
// arguments, the program must
//   - exit with status 0 or 1 (no crash, no sanitizer report),
//   - write no results when it refuses (status 1: nothing, or the help text),
//   - write well-formed output for the writer in effect when it succeeds
//     (unless debug traces are on), with one result per pair of sources,
//   - leave at most one whole line in the run log, and none when it refuses.
// No generated argument holds a line end: the run log writes arguments as
// they stand, so such an argument would rightly span two lines of the log.
//
// VESTRA_STRESS_CASES sets the number of runs (default 300) and
// VESTRA_STRESS_SEED the seed (default 20240607); a failure names the seed,
// the case number and the arguments.

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

enum class Writer { normal, clean, gps, json };

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

// The long option that getopt_long takes for `name` (a full name or an
// abbreviation), or nullptr when there is none or it is ambiguous.
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
  return (code > 0 && code < 128 &&
          std::strchr("kKjJlLubawfesx", code) != nullptr) ||
         (code >= 260 && code != 261 && code != 262 && code != 263 &&
          code < 269) ||
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
  else if (o.has_arg == required_argument && o.flag == nullptr &&
           is_station_code(o.val))
    m.sources += 1;
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
        "",      " ",     "north", "inf",   "-inf", "nan",    "1e999",
        "1e-999", "0x1f", "12abc", ":",     "::3",  "1:2:3:4", "-",
        "--",    "x*y",   "a b",   "\"q\"", "é",    "+",       "."};
    return words[pick(sizeof words / sizeof *words)];
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
    if (chance(0.05)) v = v.substr(0, static_cast<std::size_t>(pick(static_cast<int>(v.size()) + 1)));
    return v;
  }

  // The value for an option that takes one.
  std::string value_for(const option& o) {
    const std::string n = o.name;
    if (n == "new-station") return new_station();
    if (n == "angle") return chance(0.8) ? number(uniform(0, 90)) : bearing();
    if (n == "sbaz") return chance(0.8) ? number(uniform(0, 3)) : bearing();
    if (n == "ellipsoid")
      return chance(0.85) ? std::to_string(pick(28) - 1) : junk();
    if (n == "xxx-lat") return coordinate(95);
    if (n == "xxx-long") return coordinate(185);
    if (n == "xxx-name") return chance(0.8) ? "Here" : junk();
    return bearing();
  }

  // A long option by index, written in full or abbreviated, with its value
  // joined by "=" or in the next argument.
  void long_option(std::vector<std::string>& args, Model& m) {
    const int count = sizeof long_options / sizeof *long_options - 1;
    const option& o = long_options[pick(count)];
    std::string name = o.name;
    if (chance(0.15) && name.size() > 2)
      name = name.substr(0, 1 + static_cast<std::size_t>(pick(static_cast<int>(name.size()) - 1)));
    const option* taken = resolve(name);
    if (o.has_arg == required_argument) {
      std::string value = value_for(o);
      if (chance(0.5)) {
        args.push_back("--" + name + "=" + value);
      } else {
        args.push_back("--" + name);
        args.push_back(value);
      }
    } else {
      args.push_back("--" + name);
    }
    if (taken) apply(m, *taken);
  }

  void short_option(std::vector<std::string>& args, Model& m) {
    static const char letters[] = "kKjJlLubawfesxcvCAX";
    const char c = letters[pick(sizeof letters - 1)];
    const std::string flag = std::string("-") + c;
    if (c == 'c') {
      args.push_back(flag);
      m.writer = Writer::clean;
      return;
    }
    if (c == 'C') {
      args.push_back(flag);
      return;
    }
    const std::string value =
        c == 'v' ? number(uniform(0, 90)) : bearing();
    if (chance(0.5) && !value.empty()) {
      args.push_back(flag + value);
    } else {
      args.push_back(flag);
      args.push_back(value);
    }
    if (std::strchr("kKjJlLubawfesx", c)) m.sources += 1;
  }

  // A command line and what its options amount to. Options after a "--"
  // are plain words to getopt_long, so the model stops counting there.
  std::vector<std::string> command_line(Model& m) {
    std::vector<std::string> args;
    // Mostly two to four stations so that most runs compute.
    const int stations = 1 + pick(4);
    const int extras = pick(5);
    std::vector<int> kinds;
    for (int i = 0; i < stations; ++i) kinds.push_back(0);
    for (int i = 0; i < extras; ++i) kinds.push_back(1 + pick(8));
    std::shuffle(kinds.begin(), kinds.end(), rng_);
    bool stopped = false;
    Model ignored;
    for (int k : kinds) {
      Model& target = stopped ? ignored : m;
      switch (k) {
        case 0:
          if (chance(0.4)) {
            args.push_back("--new-station=" + new_station());
            target.sources += 1;
          } else if (chance(0.5)) {
            short_option(args, target);
          } else {
            // A catalog option (from "Kiruna" on) in full.
            const option& o = long_options[42 + pick(55)];
            args.push_back(std::string("--") + o.name + "=" + bearing());
            target.sources += 1;
          }
          break;
        case 1: case 2: case 3:
          long_option(args, target);
          break;
        case 4: {
          static const char* const writers[] = {"--clean", "--gps", "--json",
                                                "--normal", "--space", "-c"};
          const std::string w = writers[pick(6)];
          args.push_back(w);
          if (w == "-c") target.writer = Writer::clean;
          else apply(target, *resolve(w.substr(2)));
          break;
        }
        case 5:
          args.push_back(chance(0.5) ? "--norsar" : "--original");
          break;
        case 6: {
          // A word that is no option: ignored, unless it starts with "-".
          std::string w = junk();
          args.push_back(w);
          if (w == "--") stopped = true;
          break;
        }
        case 7:
          if (chance(0.3)) {
            args.push_back("--no-log");
            target.no_log = true;
          }
          break;
        case 8:
          if (chance(0.1)) {
            args.push_back(chance(0.7) ? "--debug" : "--display");
            apply(target, *resolve(args.back().substr(2)));
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

bool full_number(const std::string& s, bool finite = true) {
  if (s.empty()) return false;
  char* end = nullptr;
  double v = std::strtod(s.c_str(), &end);
  return *end == '\0' && (!finite || std::isfinite(v));
}

std::vector<std::string> split(const std::string& s, char sep) {
  std::vector<std::string> parts;
  std::string part;
  std::istringstream in(s);
  while (std::getline(in, part, sep)) parts.push_back(part);
  if (!s.empty() && s.back() == sep) parts.push_back("");
  return parts;
}

std::vector<std::string> lines_of(const std::string& out, bool space) {
  std::vector<std::string> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line);)
    if (!(space && line.empty())) lines.push_back(line);
  return lines;
}

// "arc=lon,lat,lon,lat" or "line=lon,lat,bearing,120000".
bool normal_word(const std::string& w) {
  std::string rest;
  if (w.rfind("arc=", 0) == 0) rest = w.substr(4);
  else if (w.rfind("line=", 0) == 0) rest = w.substr(5);
  else return false;
  auto parts = split(rest, ',');
  if (parts.size() != 4) return false;
  for (const auto& p : parts)
    if (!full_number(p)) return false;
  return true;
}

// Letter, whole degrees, blank, minutes with three decimals.
bool dm_field(const std::string& s, const char* letters) {
  if (s.size() < 2 || !std::strchr(letters, s[0])) return false;
  std::size_t i = 1;
  if (s[i] == '-') ++i;
  std::size_t digits = i;
  while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) ++i;
  if (i == digits || i >= s.size() || s[i] != ' ') return false;
  const std::string minutes = s.substr(i + 1);
  auto dot = minutes.find('.');
  if (dot == std::string::npos || dot == 0 || minutes.size() - dot != 4)
    return false;
  return std::all_of(minutes.begin(), minutes.end(), [](char c) {
    return c == '.' || std::isdigit(static_cast<unsigned char>(c));
  });
}

bool gps_line(const std::string& line) {
  if (line == "N00 00.000 E00 00.000") return true;
  // Longitude first: "E29 32.550 N66 10.489".
  for (std::size_t cut = 1; cut + 1 < line.size(); ++cut)
    if ((line[cut] == ' ' || line[cut] == ',') &&
        std::strchr("NS", line[cut + 1]) && dm_field(line.substr(0, cut), "EW") &&
        dm_field(line.substr(cut + 1), "NS"))
      return true;
  return false;
}

void check_output(const Model& m, const std::string& out,
                  const std::string& where) {
  const int pairs = m.sources * (m.sources - 1) / 2;
  switch (m.writer) {
    case Writer::normal: {
      std::istringstream in(out);
      int words = 0;
      for (std::string w; in >> w; ++words)
        EXPECT_TRUE(normal_word(w)) << where << "word: " << w;
      EXPECT_EQ(words, 2 * pairs) << where;
      break;
    }
    case Writer::clean: {
      auto lines = lines_of(out, m.space);
      for (const auto& line : lines) {
        auto fields = split(line, ' ');
        EXPECT_EQ(fields.size(), 4u) << where << "line: " << line;
        for (const auto& f : fields)
          EXPECT_TRUE(full_number(f)) << where << "line: " << line;
      }
      EXPECT_EQ(static_cast<int>(lines.size()), pairs) << where;
      break;
    }
    case Writer::gps: {
      auto lines = lines_of(out, m.space);
      for (const auto& line : lines)
        EXPECT_TRUE(gps_line(line)) << where << "line: " << line;
      EXPECT_EQ(static_cast<int>(lines.size()), pairs) << where;
      break;
    }
    case Writer::json: {
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
      break;
    }
  }
  EXPECT_TRUE(out.empty() || out.back() == '\n') << where << "no final line end";
}

std::string shown(const std::vector<std::string>& args) {
  std::string s;
  for (const auto& a : args) s += " '" + a + "'";
  return s;
}

TEST(Stress, RandomCommandLines) {
  const long cases = env_number("VESTRA_STRESS_CASES", 300);
  const unsigned seed =
      static_cast<unsigned>(env_number("VESTRA_STRESS_SEED", 20240607));
  Generator gen(seed);

  ProgramRun listing_run;
  listing_run.args = {"--display"};
  const std::string listing = run_program(VESTRA_BINARY, listing_run).out;
  // The help text starts with the version line and "Usage:"; taken from the
  // program itself, whose version line holds its own build time.
  const std::string help = run_program(VESTRA_BINARY, ProgramRun{}).out;
  const std::string usage = "\nUsage:\n";
  const auto usage_at = help.find(usage);
  ASSERT_NE(usage_at, std::string::npos) << help;
  const std::string help_start = help.substr(0, usage_at + usage.size());

  std::vector<std::string> env{"LC_ALL=C", "TZ=UTC", "PATH=/usr/bin:/bin"};
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
    if (const char* v = std::getenv(name))
      env.push_back(std::string(name) + "=" + v);

  int computed = 0, refused = 0;
  for (long i = 0; i < cases; ++i) {
    Model m;
    ProgramRun run;
    run.env = env;
    run.args = gen.command_line(m);
    if (gen.chance(0.1)) run.argv0 = gen.chance(0.5) ? "vnorsar" : "/opt/x/Vestra.EXE";
    const std::string where = "seed " + std::to_string(seed) + " case " +
                              std::to_string(i) + ":" + shown(run.args) + "\n";
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
