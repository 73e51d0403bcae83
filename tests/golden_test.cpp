// End-to-end cases: each tests/golden/<case>.cmd runs a built program in a
// fresh temporary working directory and compares its standard output, its
// standard error stream, its run log and its exit status exactly with
// <case>.out, <case>.err, <case>.log and the status line.
//
// A .cmd file holds one directive per line ('#' starts a comment):
//   program: name      the built program to run (default vestra)
//   args: a b c        arguments, split at blanks
//   arg: text          one argument, the rest of the line as it stands
//   arg-repeat: N text one argument made of `text` (the rest of the line
//                      after N and one blank) written N times, e.g.
//                      "arg-repeat: 131000 9" for a value of 131000 nines
//   arg-append: N text `text` written N times appended to the last argument
//                      (after "arg: --new-station=A:" for instance)
// One argument may hold at most 131071 bytes: the kernel refuses a longer
// one at exec.
//   argv0: name        the program name handed to the process (default: the
//                      program's own name)
//   env: NAME=VALUE    an environment variable, replacing the defaults
//                      LC_ALL=C, TZ=UTC and PATH=/usr/bin:/bin
//   mkdir: name        a directory made in the working directory first
//   file: name         tests/golden/name copied into the working directory
//   stdin: name        tests/golden/name as standard input (else /dev/null)
//   status: N          the expected exit status
//   empty: out err log the streams expected empty, among out, err and log;
//                      every other stream needs its expected file
//
// Before comparing, the build's version line is replaced by @VERSION@, the
// line numbers of debug traces ("src/vestra.cpp:650:: debug: ") by @LINE@,
// and the time stamp that starts each run-log line ("11/16/26 15:40:39" in
// the C locale) by @TIME@, so that the expected files hold neither.
//
// With VESTRA_UPDATE_GOLDEN=1 the expected files (and the empty directive)
// are rewritten from the actual run; a case whose files changed then fails,
// naming each changed file, so that an update never passes silently.
//
// Refused command lines are rows of one table, tests/golden/refusals.txt
// (its format is at its top), each run as a case of Refusal.Matches.
//
// Readme.ExamplesAreGoldenCases checks the examples of README.md against the
// cases: a line "<!-- golden: case -->" (or "<!-- golden: case stderr -->")
// stands before a fenced block whose first line is "$ " and the case's
// command (program name and arguments, quoted as for a shell), and whose
// other lines are exactly the case's expected standard output (or standard
// error); a last line "..." stands for the rest of a longer output.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "run_program.h"
#include "shell_word.h"
#include "version.h"

namespace fs = std::filesystem;

namespace {

// The compared streams: their name in the empty directive and the suffix of
// their expected file.
constexpr const char* kStreams[] = {"out", "err", "log"};

struct GoldenCase {
  std::string name;
  std::string program = "vestra";
  ProgramRun run;
  int status = 0;
  std::set<std::string> empty;  ///< streams declared empty
};

fs::path golden_path(const std::string& file) {
  return fs::path(GOLDEN_DIR) / file;
}

GoldenCase parse_case(const std::string& name) {
  GoldenCase c;
  c.name = name;
  std::istringstream in(read_file(golden_path(name + ".cmd")));
  std::string line;
  bool argv0_given = false;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    auto colon = line.find(':');
    if (colon == std::string::npos) {
      ADD_FAILURE() << name << ".cmd: no directive in: " << line;
      continue;
    }
    std::string key = line.substr(0, colon);
    std::string value = line.substr(colon + 1);
    if (!value.empty() && value[0] == ' ') value.erase(0, 1);
    if (key == "args") {
      std::istringstream words(value);
      for (std::string w; words >> w;) c.run.args.push_back(w);
    } else if (key == "arg") {
      c.run.args.push_back(value);
    } else if (key == "arg-repeat" || key == "arg-append") {
      auto blank = value.find(' ');
      std::size_t count = std::stoul(value.substr(0, blank));
      std::string text =
          blank == std::string::npos ? "" : value.substr(blank + 1);
      std::string arg;
      arg.reserve(count * text.size());
      for (std::size_t i = 0; i < count; ++i) arg += text;
      if (key == "arg-repeat" || c.run.args.empty())
        c.run.args.push_back(arg);
      else
        c.run.args.back() += arg;
    } else if (key == "program") {
      c.program = value;
    } else if (key == "argv0") {
      c.run.argv0 = value;
      argv0_given = true;
    } else if (key == "env") {
      c.run.setenv(value);
    } else if (key == "mkdir") {
      c.run.dirs.push_back(value);
    } else if (key == "file") {
      c.run.files.push_back(golden_path(value).string());
    } else if (key == "stdin") {
      c.run.stdin_path = golden_path(value).string();
    } else if (key == "status") {
      c.status = std::stoi(value);
    } else if (key == "empty") {
      std::istringstream words(value);
      for (std::string w; words >> w;) {
        if (std::find(std::begin(kStreams), std::end(kStreams), w) ==
            std::end(kStreams))
          ADD_FAILURE() << name << ".cmd: no stream " << w;
        c.empty.insert(w);
      }
    } else {
      ADD_FAILURE() << name << ".cmd: unknown directive " << key;
    }
  }
  if (!argv0_given) c.run.argv0 = c.program;
  return c;
}

std::vector<std::string> case_names() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(GOLDEN_DIR))
    if (entry.path().extension() == ".cmd")
      names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string replace_all(std::string text, const std::string& from,
                        const std::string& to) {
  if (from.empty()) return text;
  for (auto pos = text.find(from); pos != std::string::npos;
       pos = text.find(from, pos + to.size()))
    text.replace(pos, from.size(), to);
  return text;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Debug traces' line numbers replaced by @LINE@: "file:650:: debug: " becomes
// "file:@LINE@:: debug: ".
std::string mask_trace_lines(std::string text) {
  const std::string tag = ":: debug: ";
  for (auto pos = text.find(tag); pos != std::string::npos;
       pos = text.find(tag, pos + tag.size())) {
    auto start = pos;
    while (start > 0 && is_digit(text[start - 1])) --start;
    if (start == pos || start == 0 || text[start - 1] != ':') continue;
    text.replace(start, pos - start, "@LINE@");
    pos = start + 6;
  }
  return text;
}

// The time stamp "mm/dd/yy HH:MM:SS" that opens a run-log line in the C
// locale replaced by @TIME@; lines of another form are left as they are.
std::string mask_log_times(const std::string& log) {
  const std::string shape = "00/00/00 00:00:00";
  std::istringstream in(log);
  std::string out;
  for (std::string line; std::getline(in, line);) {
    bool stamped = line.size() >= shape.size();
    for (std::size_t i = 0; stamped && i < shape.size(); ++i)
      stamped = shape[i] == '0' ? is_digit(line[i]) : line[i] == shape[i];
    if (stamped) line.replace(0, shape.size(), "@TIME@");
    out += line + "\n";
  }
  return out;
}

// Rewrites the empty directive of a case's .cmd file; returns whether the
// file changed.
bool update_empty_directive(const GoldenCase& c) {
  const fs::path cmd = golden_path(c.name + ".cmd");
  std::istringstream in(read_file(cmd));
  std::string text;
  for (std::string line; std::getline(in, line);)
    if (line.rfind("empty:", 0) != 0) text += line + "\n";
  if (!c.empty.empty()) {
    text += "empty:";
    for (const char* stream : kStreams)
      if (c.empty.count(stream)) text += std::string(" ") + stream;
    text += "\n";
  }
  if (text == read_file(cmd)) return false;
  std::ofstream(cmd, std::ios::binary) << text;
  return true;
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, Matches) {
  GoldenCase c = parse_case(GetParam());
  const std::string binary = std::string(PROGRAM_DIR) + "/" + c.program;
  ASSERT_TRUE(fs::exists(binary)) << "no program " << binary;
  ProgramResult r = run_program(binary.c_str(), c.run);
  const std::map<std::string, std::string> actual{
      {"out", mask_trace_lines(replace_all(r.out, Version, "@VERSION@"))},
      {"err", mask_trace_lines(replace_all(r.err, Version, "@VERSION@"))},
      {"log", mask_log_times(r.log)}};

  if (std::getenv("VESTRA_UPDATE_GOLDEN")) {
    c.empty.clear();
    for (const auto& [stream, text] : actual) {
      const fs::path file = golden_path(c.name + "." + stream);
      if (text.empty()) c.empty.insert(stream);
      if (read_file(file) == text && (fs::exists(file) != text.empty()))
        continue;
      ADD_FAILURE() << "updated " << file.string();
      if (text.empty())
        fs::remove(file);
      else
        std::ofstream(file, std::ios::binary) << text;
    }
    if (update_empty_directive(c)) ADD_FAILURE() << "updated " << c.name << ".cmd";
  }

  for (const auto& [stream, text] : actual) {
    const fs::path file = golden_path(c.name + "." + stream);
    if (c.empty.count(stream)) {
      EXPECT_FALSE(fs::exists(file)) << file << " exists for an empty stream";
      EXPECT_EQ(text, "") << stream;
    } else if (!fs::exists(file)) {
      ADD_FAILURE() << "no " << file.string() << " (declare \"empty: "
                    << stream << "\" when the stream is empty)";
    } else {
      EXPECT_EQ(text, read_file(file)) << stream;
    }
  }
  EXPECT_EQ(r.status, c.status) << "exit status";
}

std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(Readme, ExamplesAreGoldenCases) {
  const std::vector<std::string> lines = split_lines(read_file(README_PATH));
  ASSERT_FALSE(lines.empty()) << README_PATH;
  int examples = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    // Every shell example of the program must be a checked one.
    if (line.rfind("$ vestra", 0) == 0) {
      bool marked = i >= 2 && lines[i - 2].rfind("<!-- golden: ", 0) == 0 &&
                    lines[i - 1].rfind("```", 0) == 0;
      EXPECT_TRUE(marked) << "README.md:" << i + 1
                          << ": example without a golden marker";
    }
    const std::string open = "<!-- golden: ", close = " -->";
    if (line.rfind(open, 0) != 0) continue;
    const std::string where = "README.md:" + std::to_string(i + 1);
    ASSERT_GE(line.size(), open.size() + close.size()) << where;
    ASSERT_EQ(line.substr(line.size() - close.size()), close) << where;
    std::istringstream words(
        line.substr(open.size(), line.size() - open.size() - close.size()));
    std::string name, stream;
    words >> name >> stream;
    ASSERT_TRUE(stream.empty() || stream == "stderr") << where;
    ASSERT_TRUE(fs::exists(golden_path(name + ".cmd")))
        << where << ": no case " << name;
    ASSERT_LT(i + 2, lines.size()) << where;
    ASSERT_EQ(lines[i + 1].rfind("```", 0), 0u) << where << ": no block";
    std::vector<std::string> block;
    std::size_t j = i + 2;
    for (; j < lines.size() && lines[j].rfind("```", 0) != 0; ++j)
      block.push_back(lines[j]);
    ASSERT_LT(j, lines.size()) << where << ": block not closed";
    ASSERT_FALSE(block.empty()) << where;

    const GoldenCase c = parse_case(name);
    std::string command = "$ " + c.run.argv0;
    for (const auto& arg : c.run.args) command += " " + shell_word(arg);
    EXPECT_EQ(block.front(), command) << where;

    std::vector<std::string> expected = split_lines(
        read_file(golden_path(name + (stream.empty() ? ".out" : ".err"))));
    std::vector<std::string> shown(block.begin() + 1, block.end());
    if (!shown.empty() && shown.back() == "...") {
      shown.pop_back();
      EXPECT_LT(shown.size(), expected.size()) << where;
      if (expected.size() > shown.size()) expected.resize(shown.size());
    }
    EXPECT_EQ(shown, expected) << where << ": output of " << name;
    ++examples;
  }
  EXPECT_GE(examples, 10) << "README.md lost its examples";
}

// One row of refusals.txt.
struct Refusal {
  std::string name, program;
  ProgramRun run;
  std::string err;
  int status = 1;
};

// Words split at blanks, '...' quoting a word that holds blanks or nothing.
std::vector<std::string> shell_words(const std::string& text) {
  std::vector<std::string> words;
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] == ' ') {
      ++i;
      continue;
    }
    std::string w;
    while (i < text.size() && text[i] != ' ') {
      if (text[i] == '\'') {
        const std::size_t end = text.find('\'', i + 1);
        if (end == std::string::npos) {
          ADD_FAILURE() << "unclosed quote in: " << text;
          return words;
        }
        w += text.substr(i + 1, end - i - 1);
        i = end + 1;
      } else {
        w += text[i++];
      }
    }
    words.push_back(w);
  }
  return words;
}

std::vector<Refusal> read_refusals() {
  std::vector<Refusal> rows;
  std::istringstream in(read_file(golden_path("refusals.txt")));
  std::size_t line_no = 0;
  for (std::string line; std::getline(in, line);) {
    ++line_no;
    if (line.empty() || line[0] == '#') continue;
    const std::size_t blank = line.find(' ');
    const std::string key = line.substr(0, blank);
    const std::string value =
        blank == std::string::npos ? "" : line.substr(blank + 1);
    if (key == "case") {
      rows.emplace_back();
      rows.back().name = value;
      continue;
    }
    if (rows.empty()) {
      ADD_FAILURE() << "refusals.txt:" << line_no << ": no case yet";
      continue;
    }
    Refusal& r = rows.back();
    if (key == "run") {
      std::vector<std::string> words = shell_words(value);
      if (words.empty()) continue;
      r.program = r.run.argv0 = words[0];
      r.run.args.assign(words.begin() + 1, words.end());
    } else if (key == "err") {
      r.err += value + "\n";
    } else if (key == "status") {
      r.status = std::stoi(value);
    } else {
      ADD_FAILURE() << "refusals.txt:" << line_no << ": unknown key " << key;
    }
  }
  return rows;
}

std::vector<std::string> refusal_names() {
  std::vector<std::string> names;
  for (const Refusal& r : read_refusals()) names.push_back(r.name);
  return names;
}

class RefusalTable : public testing::TestWithParam<std::string> {};

TEST_P(RefusalTable, Matches) {
  for (const Refusal& r : read_refusals()) {
    if (r.name != GetParam()) continue;
    const std::string binary = std::string(PROGRAM_DIR) + "/" + r.program;
    ASSERT_TRUE(fs::exists(binary)) << "no program " << binary;
    const ProgramResult result = run_program(binary.c_str(), r.run);
    EXPECT_EQ(result.err, r.err);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.log, "");
    EXPECT_EQ(result.status, r.status);
    return;
  }
  FAIL() << "no case " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Refusals, RefusalTable,
                         testing::ValuesIn(refusal_names()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           return info.param;
                         });

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(case_names()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string n = info.param;
                           for (char& ch : n)
                             if (!std::isalnum(static_cast<unsigned char>(ch)))
                               ch = '_';
                           return n;
                         });

}  // namespace
