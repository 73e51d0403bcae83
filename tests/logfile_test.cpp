// Run log.

#include "lib/logfile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Length of the time stamp in the C locale, e.g. "11/16/26 15:40:39".
constexpr std::size_t c_stamp_length = 17;

bool is_c_stamp(const std::string& line) {
  static const std::regex stamp(R"(^\d\d/\d\d/\d\d \d\d:\d\d:\d\d$)");
  return line.size() >= c_stamp_length &&
         std::regex_match(line.substr(0, c_stamp_length), stamp);
}

/// A fresh temporary directory, removed with its contents at the end.
class TempDir {
 public:
  TempDir() {
    std::string templ = (fs::temp_directory_path() / "logfile_test.XXXXXX");
    if (mkdtemp(templ.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = templ;
  }
  ~TempDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  fs::path operator/(const char* name) const { return path_ / name; }
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

/// Works in `dir` until the end of the scope.
class InDirectory {
 public:
  explicit InDirectory(const fs::path& dir) : old_(fs::current_path()) {
    fs::current_path(dir);
  }
  ~InDirectory() { fs::current_path(old_); }

 private:
  fs::path old_;
};

/// Sets (or with nullopt unsets) an environment variable for the scope.
class EnvSetting {
 public:
  EnvSetting(const char* name, std::optional<std::string> value)
      : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value)
      setenv(name, value->c_str(), 1);
    else
      unsetenv(name);
  }
  ~EnvSetting() {
    if (old_)
      setenv(name_.c_str(), old_->c_str(), 1);
    else
      unsetenv(name_.c_str());
  }

 private:
  std::string name_;
  std::optional<std::string> old_;
};

/// Sets the program's time locale for the scope.
class TimeLocale {
 public:
  explicit TimeLocale(const char* name)
      : old_(std::setlocale(LC_TIME, nullptr)) {
    ok_ = std::setlocale(LC_TIME, name) != nullptr;
  }
  ~TimeLocale() { std::setlocale(LC_TIME, old_.c_str()); }
  bool ok() const { return ok_; }

 private:
  std::string old_;
  bool ok_;
};

std::string current_time_locale() { return std::setlocale(LC_TIME, nullptr); }

std::string read_file(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos;
       start = end + 1)
    lines.push_back(text.substr(start, end - start));
  if (start != text.size()) lines.push_back(text.substr(start));  // torn
  return lines;
}

void log_to(const fs::path& file, std::vector<const char*> args) {
  flogfile(file.c_str(), static_cast<int>(args.size()), args.data());
}

/// The environment's locale is the plain C locale for the test.
class RunLogC : public testing::Test {
 protected:
  EnvSetting lc_all_{"LC_ALL", "C"};
  TempDir dir_;
  fs::path file_ = dir_ / "log";

  /// What one run with these arguments adds after the time stamp.
  std::string logged(std::vector<const char*> args) {
    log_to(file_, args);
    const std::string text = read_file(file_);
    fs::remove(file_);
    EXPECT_TRUE(is_c_stamp(text)) << text;
    EXPECT_EQ(text.back(), '\n');
    return text.substr(c_stamp_length, text.size() - c_stamp_length - 1);
  }
};

TEST_F(RunLogC, CreatesTheFileThenAppends) {
  InDirectory in(dir_.path());
  std::vector<char*> args = {const_cast<char*>("vestra"),
                             const_cast<char*>("--kiruna=111")};
  logfile(2, args.data());
  EXPECT_EQ(lines_of(read_file(dir_ / "logfile")).size(), 1u);
  logfile(2, args.data());
  const auto lines = lines_of(read_file(dir_ / "logfile"));
  ASSERT_EQ(lines.size(), 2u);
  for (const auto& line : lines) {
    EXPECT_TRUE(is_c_stamp(line)) << line;
    EXPECT_EQ(line.substr(c_stamp_length), " vestra --kiruna=111");
  }
}

TEST_F(RunLogC, KeepsWhatTheFileHeld) {
  std::ofstream(file_) << "earlier line\n";
  log_to(file_, {"vestra"});
  const auto lines = lines_of(read_file(file_));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "earlier line");
  EXPECT_EQ(lines[1].substr(c_stamp_length), " vestra");
}

TEST_F(RunLogC, TimeStampIsTheLocalTime) {
  std::time_t before, after;
  {
    // Five hours west of Greenwich, no summer time.
    EnvSetting tz("TZ", "XST+5");
    tzset();
    before = std::time(nullptr);
    log_to(file_, {"vestra"});
    after = std::time(nullptr);
  }
  tzset();
  const std::string line = read_file(file_);
  ASSERT_TRUE(is_c_stamp(line)) << line;
  std::set<std::string> expected;
  for (std::time_t t = before; t <= after; ++t) {
    const std::time_t shifted = t - 5 * 3600;
    std::tm utc{};
    gmtime_r(&shifted, &utc);
    char buf[32];
    std::strftime(buf, sizeof buf, "%m/%d/%y %H:%M:%S", &utc);
    expected.insert(buf);
  }
  EXPECT_TRUE(expected.count(line.substr(0, c_stamp_length))) << line;
  EXPECT_EQ(line.substr(c_stamp_length), " vestra\n");
}

TEST_F(RunLogC, ArgumentForms) {
  struct Case {
    const char* arg;
    const char* written;
  };
  const Case cases[] = {
      // As it is: none of blank, ',' and '*'.
      {"-k", " -k"},
      {"--new-station=A:1:2:3", " --new-station=A:1:2:3"},
      {"", " "},
      {R"(a"b)", R"( a"b)"},
      {R"(back\slash)", R"( back\slash)"},
      // "--name=value": the value quoted and escaped after the first '='.
      {"--new-station=Big Hill:60:15:120",
       R"( --new-station="Big Hill:60:15:120")"},
      {"--a=b=c d", R"( --a="b=c d")"},
      {R"(--p=a\b c)", R"( --p="a\\b c")"},
      {R"(--q=say "hi")", R"( --q="say \"hi\"")"},
      {R"(--a"b=c d)", R"( --a"b="c d")"},
      {"--k y=", R"( --k y="")"},
      {"--x=,", R"( --x=",")"},
      // Everything else: the whole argument quoted and escaped.
      {"x*y", R"( "x*y")"},
      {"a,b", R"( "a,b")"},
      {R"(say "hi")", R"( "say \"hi\"")"},
      {R"(a\ b)", R"( "a\\ b")"},
      {"--x y", R"( "--x y")"},
      {"-a=b c", R"( "-a=b c")"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(logged({"vestra", c.arg}), std::string(" vestra") + c.written)
        << "argument: " << c.arg;
}

TEST_F(RunLogC, ArgumentsInOrderAndNoneAtAll) {
  EXPECT_EQ(logged({"./vestra", "-k", "b c", "--z=1", "--n=A B"}),
            R"( ./vestra -k "b c" --z=1 --n="A B")");
  EXPECT_EQ(logged({}), "");
}

TEST_F(RunLogC, LongArgumentWrittenWhole) {
  std::string arg = "--big=";
  for (int i = 0; i < 1 << 20; ++i) arg += (i % 3 == 0) ? '"' : ' ';
  std::string value_escaped;
  for (char ch : arg.substr(6)) {
    if (ch == '"') value_escaped += '\\';
    value_escaped += ch;
  }
  EXPECT_EQ(logged({"vestra", arg.c_str()}),
            " vestra --big=\"" + value_escaped + "\"");
}

TEST(RunLogUnopenable, DirectoryInTheWay) {
  TempDir dir;
  fs::create_directory(dir / "logfile");
  InDirectory in(dir.path());
  std::vector<char*> args = {const_cast<char*>("vestra"),
                             const_cast<char*>("a b")};
  testing::internal::CaptureStderr();
  logfile(2, args.data());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "No logfile entry\n");
  EXPECT_TRUE(fs::is_directory(dir / "logfile"));
}

TEST(RunLogUnopenable, MissingDirectory) {
  TempDir dir;
  const fs::path file = dir / "missing" / "logfile";
  testing::internal::CaptureStderr();
  log_to(file, {"vestra"});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "No logfile entry\n");
  EXPECT_FALSE(fs::exists(dir / "missing"));
}

TEST(QuoteString, EscapesQuotesAndBackslashesOnly) {
  struct Case {
    const char* in;
    const char* out;
  };
  const Case cases[] = {
      {nullptr, ""},
      {"", ""},
      {"plain, * text", "plain, * text"},
      {R"(")", R"(\")"},
      {R"(\)", R"(\\)"},
      {R"(a"b\c""\\)", R"(a\"b\\c\"\"\\\\)"},
      {"'single'", "'single'"},
  };
  for (const Case& c : cases) {
    char* q = quote_string(c.in);
    ASSERT_NE(q, nullptr);
    EXPECT_STREQ(q, c.out) << (c.in ? c.in : "(null)");
    std::free(q);
  }
}

/// Makes every allocation of an escaped copy fail for the scope.
class FailingQuoteAlloc {
 public:
  FailingQuoteAlloc() : old_(logfile_internal::quote_alloc) {
    logfile_internal::quote_alloc = [](std::size_t) -> void* {
      return nullptr;
    };
  }
  ~FailingQuoteAlloc() { logfile_internal::quote_alloc = old_; }

 private:
  void* (*old_)(std::size_t);
};

TEST(QuoteString, NullWhenTheCopyCannotBeAllocated) {
  FailingQuoteAlloc failing;
  EXPECT_EQ(quote_string("a\"b"), nullptr);
  EXPECT_EQ(quote_string(nullptr), nullptr);
}

TEST_F(RunLogC, UnescapedInQuotesWhenTheCopyCannotBeAllocated) {
  FailingQuoteAlloc failing;
  EXPECT_EQ(logged({"vestra", R"(say "hi")", R"(--n=a\b c)", "-k"}),
            R"( vestra "say "hi"" --n="a\b c" -k)");
}

TEST(RunLogLocale, RestoredAfterTheCall) {
  TempDir dir;
  const std::string other = "C.UTF-8";
  if (!TimeLocale(other.c_str()).ok()) GTEST_SKIP() << other << " missing";
  // Program and environment differ, in both directions.
  const std::pair<std::string, std::string> settings[] = {{"C", other},
                                                          {other, "C"}};
  for (const auto& [program, environment] : settings) {
    TimeLocale program_locale(program.c_str());
    const std::string before = current_time_locale();
    EnvSetting lc_all("LC_ALL", environment);
    log_to(dir / "log", {"vestra"});
    EXPECT_EQ(current_time_locale(), before) << "program " << program;
  }
}

TEST(RunLogLocale, RestoredWhenTheFileCannotBeOpened) {
  TempDir dir;
  TimeLocale program_locale("C");
  EnvSetting lc_all("LC_ALL", "C.UTF-8");
  testing::internal::CaptureStderr();
  log_to(dir / "missing" / "log", {"vestra"});
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(current_time_locale(), "C");
}

TEST(RunLogLocale, UnknownEnvironmentLocaleKeepsTheOneInForce) {
  TempDir dir;
  TimeLocale program_locale("C");
  EnvSetting lc_all("LC_ALL", "xx_NOWHERE.nonsense");
  log_to(dir / "log", {"vestra"});
  const std::string line = read_file(dir / "log");
  EXPECT_TRUE(is_c_stamp(line)) << line;
  EXPECT_EQ(current_time_locale(), "C");
}

TEST(RunLogConcurrency, ManyProcessesNeverMixTheirLines) {
  constexpr int children = 60;
  constexpr std::size_t payload_pairs = 50000;  // 100 KB, 150 KB escaped
  EnvSetting lc_all("LC_ALL", "C");
  TempDir dir;
  const fs::path file = dir / "logfile";

  auto payload = [&](int id) {
    std::string s = "--payload=" + std::to_string(id) + " ";
    for (std::size_t i = 0; i < payload_pairs; ++i) {
      s += static_cast<char>('a' + id % 26);
      s += '"';
    }
    return s;
  };
  auto expected_tail = [&](int id) {
    std::string s = " --payload=\"" + std::to_string(id) + " ";
    for (std::size_t i = 0; i < payload_pairs; ++i) {
      s += static_cast<char>('a' + id % 26);
      s += "\\\"";
    }
    return s + "\"";
  };

  // The children wait on the pipe until every one of them is started.
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  std::vector<pid_t> pids;
  for (int id = 0; id < children; ++id) {
    const std::string arg = payload(id);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      close(gate[1]);
      char c;
      while (read(gate[0], &c, 1) > 0) {
      }
      const char* argv[] = {"vestra", arg.c_str()};
      flogfile(file.c_str(), 2, argv);
      _exit(0);
    }
    pids.push_back(pid);
  }
  close(gate[0]);
  close(gate[1]);
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }

  const auto lines = lines_of(read_file(file));
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(children));
  std::set<int> seen;
  for (const auto& line : lines) {
    ASSERT_TRUE(is_c_stamp(line)) << line.substr(0, 80);
    const std::string prefix = " vestra --payload=\"";
    ASSERT_EQ(line.compare(c_stamp_length, prefix.size(), prefix), 0)
        << line.substr(0, 80);
    const int id = std::atoi(line.c_str() + c_stamp_length + prefix.size());
    EXPECT_EQ(line.substr(c_stamp_length + 7), expected_tail(id))
        << "child " << id;
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), static_cast<std::size_t>(children));
}

}  // namespace
