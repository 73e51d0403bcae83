// Run log.

#include "lib/logfile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "in_process.h"

namespace fs = std::filesystem;

namespace {

// Length of the time stamp in the C locale, e.g. "11/16/26 15:40:39".
constexpr std::size_t stamp_len = 17;

bool starts_with_c_stamp(const std::string& line) {
  const std::string form = "dd/dd/dd dd:dd:dd";  // d: a digit
  if (line.size() < form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i)
    if (form[i] == 'd' ? !std::isdigit(static_cast<unsigned char>(line[i]))
                       : line[i] != form[i])
      return false;
  return true;
}

/// Sets an environment variable for the scope.
struct EnvSetting {
  std::string name;
  std::optional<std::string> old;
  EnvSetting(const char* n, const std::string& value) : name(n) {
    if (const char* v = std::getenv(n)) old = v;
    setenv(n, value.c_str(), 1);
  }
  ~EnvSetting() { old ? setenv(name.c_str(), old->c_str(), 1) : unsetenv(name.c_str()); }
};

/// Sets the program's time locale for the scope.
struct TimeLocale {
  std::string old = std::setlocale(LC_TIME, nullptr);
  bool ok;
  explicit TimeLocale(const char* name) : ok(std::setlocale(LC_TIME, name)) {}
  ~TimeLocale() { std::setlocale(LC_TIME, old.c_str()); }
};

std::string time_locale() { return std::setlocale(LC_TIME, nullptr); }

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void log_to(const fs::path& file, std::vector<const char*> args) {
  flogfile(file.c_str(), static_cast<int>(args.size()), args.data());
}

/// The environment's locale is the plain C locale.
class RunLog : public testing::Test {
 protected:
  EnvSetting lc_all_{"LC_ALL", "C"};
  TempDir dir_;
  fs::path file_ = dir_ / "log";

  /// What one run with these arguments writes after the time stamp.
  std::string logged(std::vector<const char*> args) {
    log_to(file_, args);
    const std::string text = read_text(file_);
    fs::remove(file_);
    EXPECT_TRUE(starts_with_c_stamp(text)) << text;
    EXPECT_EQ(text.back(), '\n');
    return text.substr(stamp_len, text.size() - stamp_len - 1);
  }
};

TEST_F(RunLog, TimeStampIsTheLocalTime) {
  std::time_t before, after;
  {
    EnvSetting tz("TZ", "XST+5");  // five hours west, no summer time
    tzset();
    before = std::time(nullptr);
    log_to(file_, {"vestra"});
    after = std::time(nullptr);
  }
  tzset();
  const std::string line = read_text(file_);
  std::set<std::string> expected;
  for (std::time_t t = before - 5 * 3600; t <= after - 5 * 3600; ++t) {
    char buf[32];
    std::strftime(buf, sizeof buf, "%m/%d/%y %H:%M:%S", std::gmtime(&t));
    expected.insert(buf);
  }
  EXPECT_TRUE(expected.count(line.substr(0, stamp_len))) << line;
  EXPECT_EQ(line.substr(stamp_len), " vestra\n");
}

TEST_F(RunLog, ArgumentForms) {
  const std::pair<const char*, const char*> cases[] = {
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
      // Everything else: the whole argument quoted and escaped.
      {"x*y", R"( "x*y")"},
      {"a,b", R"( "a,b")"},
      {R"(say "hi")", R"( "say \"hi\"")"},
      {R"(a\ b)", R"( "a\\ b")"},
      {"--x y", R"( "--x y")"},
      {"-a=b c", R"( "-a=b c")"},
  };
  for (const auto& [arg, written] : cases)
    EXPECT_EQ(logged({"vestra", arg}), std::string(" vestra") + written)
        << "argument: " << arg;
  EXPECT_EQ(logged({"./vestra", "-k", "b c", "--n=A B"}),
            R"( ./vestra -k "b c" --n="A B")");
  EXPECT_EQ(logged({}), "");
}

// quote_string: a null argument gives an empty copy; when no copy can be
// allocated, the argument goes into the line unescaped.
TEST_F(RunLog, UnescapedInQuotesWhenTheCopyCannotBeAllocated) {
  char* empty = quote_string(nullptr);
  EXPECT_STREQ(empty, "");
  std::free(empty);
  const auto old = logfile_internal::quote_alloc;
  logfile_internal::quote_alloc = [](std::size_t) -> void* { return nullptr; };
  EXPECT_EQ(quote_string("a\"b"), nullptr);
  EXPECT_EQ(logged({"vestra", R"(say "hi")", R"(--n=a\b c)", "-k"}),
            R"( vestra "say "hi"" --n="a\b c" -k)");
  logfile_internal::quote_alloc = old;
}

// The time stamp is written in the environment's time locale; the program's
// own setting is back afterwards, also when the file cannot be opened. An
// unknown environment locale leaves the program's in force.
TEST(RunLogLocale, ProgramSettingIsRestored) {
  TempDir dir;
  {
    TimeLocale program_locale("C");
    EnvSetting lc_all("LC_ALL", "xx_NOWHERE.nonsense");
    log_to(dir / "unknown", {"vestra"});
    EXPECT_TRUE(starts_with_c_stamp(read_text(dir / "unknown")));
  }
  const char* other = "C.UTF-8";
  if (!TimeLocale(other).ok) GTEST_SKIP() << other << " missing";
  for (const auto& [program, environment] :
       {std::pair{"C", other}, std::pair{other, "C"}}) {
    TimeLocale program_locale(program);
    const std::string before = time_locale();
    EnvSetting lc_all("LC_ALL", environment);
    for (const fs::path& file : {dir / "log", dir / "missing" / "log"}) {
      testing::internal::CaptureStderr();
      log_to(file, {"vestra"});
      testing::internal::GetCapturedStderr();
      EXPECT_EQ(time_locale(), before) << file << " from " << program;
    }
  }
}

// Long lines, their escaped form half as long again, from many processes at
// once: every line must arrive whole and alone.
TEST(RunLogConcurrency, ManyProcessesNeverMixTheirLines) {
  constexpr int children = 60;
  constexpr std::size_t pairs = 50000;  // 100 KB
  EnvSetting lc_all("LC_ALL", "C");
  TempDir dir;
  const fs::path file = dir / "logfile";
  auto text = [&](int id, const char* quote) {
    std::string s = std::to_string(id) + " ";
    for (std::size_t i = 0; i < pairs; ++i)
      s.append(1, static_cast<char>('a' + id % 26)).append(quote);
    return s;
  };

  int gate[2];  // the children wait until the parent closes it
  ASSERT_EQ(pipe(gate), 0);
  std::vector<pid_t> pids;
  for (int id = 0; id < children; ++id) {
    const std::string arg = "--payload=" + text(id, "\"");
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

  const auto lines = lines_of(read_text(file));
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(children));
  const std::string head = " vestra --payload=\"";
  std::set<int> seen;
  for (const auto& line : lines) {
    ASSERT_TRUE(starts_with_c_stamp(line)) << line.substr(0, 80);
    ASSERT_EQ(line.compare(stamp_len, head.size(), head), 0)
        << line.substr(0, 80);
    const int id = std::atoi(line.c_str() + stamp_len + head.size());
    EXPECT_EQ(line.substr(stamp_len + head.size()), text(id, "\\\"") + "\"")
        << "child " << id;
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), static_cast<std::size_t>(children));
}

}  // namespace
