// End-to-end cases: each tests/golden/<case>.cmd runs the built program in a
// fresh temporary working directory and compares its standard output, its
// standard error stream and its exit status exactly with <case>.out,
// <case>.err (a missing file stands for empty output) and the status line.
//
// A .cmd file holds one directive per line ('#' starts a comment):
//   args: a b c        arguments, split at blanks
//   arg: text          one argument, the rest of the line as it stands
//   arg-repeat: N text one argument made of `text` (the rest of the line
//                      after N and one blank) written N times, e.g.
//                      "arg-repeat: 131000 9" for a value of 131000 nines
//   arg-append: N text `text` written N times appended to the last argument
//                      (after "arg: --new-station=A:" for instance)
// One argument may hold at most 131071 bytes: the kernel refuses a longer
// one at exec.
//   argv0: name        the program name handed to the process (default vestra)
//   env: NAME=VALUE    an environment variable (LC_ALL=C and TZ=UTC are set)
//   mkdir: name        a directory made in the working directory first
//   status: N          the expected exit status
//   log-lines: N       the number of lines expected in ./logfile afterwards
//
// The build's version line (date and time of compilation) is replaced by
// @VERSION@ in the output before comparing. With VESTRA_UPDATE_GOLDEN=1 the
// .out and .err files are rewritten from the actual output instead.
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
#include <sstream>
#include <string>
#include <vector>

#include "run_program.h"
#include "shell_word.h"
#include "version.h"

namespace fs = std::filesystem;

namespace {

struct GoldenCase {
  std::string name;
  ProgramRun run;
  int status = 0;
  int log_lines = -1;
};

void write_file(const fs::path& p, const std::string& text) {
  if (text.empty()) {
    fs::remove(p);
    return;
  }
  std::ofstream(p, std::ios::binary) << text;
}

GoldenCase parse_case(const std::string& name) {
  GoldenCase c;
  c.name = name;
  std::istringstream in(read_file(fs::path(GOLDEN_DIR) / (name + ".cmd")));
  std::string line;
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
    } else if (key == "argv0") {
      c.run.argv0 = value;
    } else if (key == "env") {
      c.run.env.push_back(value);
    } else if (key == "mkdir") {
      c.run.dirs.push_back(value);
    } else if (key == "status") {
      c.status = std::stoi(value);
    } else if (key == "log-lines") {
      c.log_lines = std::stoi(value);
    } else {
      ADD_FAILURE() << name << ".cmd: unknown directive " << key;
    }
  }
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

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, Matches) {
  const GoldenCase c = parse_case(GetParam());
  ProgramResult r = run_program(VESTRA_BINARY, c.run);
  r.out = replace_all(r.out, Version, "@VERSION@");
  r.err = replace_all(r.err, Version, "@VERSION@");
  const int log_lines = static_cast<int>(std::count(r.log.begin(), r.log.end(), '\n'));
  const fs::path base = fs::path(GOLDEN_DIR) / c.name;
  if (std::getenv("VESTRA_UPDATE_GOLDEN")) {
    write_file(base.string() + ".out", r.out);
    write_file(base.string() + ".err", r.err);
  }
  EXPECT_EQ(r.out, read_file(base.string() + ".out")) << "standard output";
  EXPECT_EQ(r.err, read_file(base.string() + ".err")) << "standard error";
  EXPECT_EQ(r.status, c.status) << "exit status";
  if (c.log_lines >= 0) {
    EXPECT_EQ(log_lines, c.log_lines) << "log lines";
  }
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
    ASSERT_TRUE(fs::exists(fs::path(GOLDEN_DIR) / (name + ".cmd")))
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

    std::vector<std::string> expected = split_lines(read_file(
        fs::path(GOLDEN_DIR) / (name + (stream.empty() ? ".out" : ".err"))));
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

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(case_names()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string n = info.param;
                           for (char& ch : n)
                             if (!std::isalnum(static_cast<unsigned char>(ch)))
                               ch = '_';
                           return n;
                         });

}  // namespace
