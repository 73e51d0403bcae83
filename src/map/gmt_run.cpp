#include "map/gmt_run.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/command_line.h"
#include "cli/output_file.h"
#include "map/output_file.h"

extern char** environ;

namespace vestra::map {

namespace fs = std::filesystem;

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

// The signal caught (0: none) and the process group of the GMT command
// under way (0: none), shared with the handler.
volatile std::sig_atomic_t caught = 0;
std::atomic<pid_t> child{0};
static_assert(std::atomic<pid_t>::is_always_lock_free);

struct sigaction previous[std::size(kSignals)];

extern "C" void on_signal(int signal) {
  const int saved = errno;
  if (!caught) caught = signal;
  const pid_t c = child.load();
  if (c > 0) kill(-c, SIGTERM);
  errno = saved;
}

std::string system_error(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

/// The environment GMT runs in: the program's, with GMT's settings, session
/// and cache in `dir` alone, so that nothing of the user's GMT
/// configuration changes the map, nothing is left behind, and simultaneous
/// runs do not share a session.
std::vector<std::string> gmt_environment(const fs::path& dir) {
  std::vector<std::string> env;
  for (char** e = environ; *e; ++e) {
    const std::string s = *e;
    bool replaced = false;
    for (const char* name : {"HOME=", "GMT_USERDIR=", "GMT_TMPDIR=",
                             "GMT_SESSION_NAME=", "GMT_DATADIR="})
      replaced = replaced || s.rfind(name, 0) == 0;
    if (!replaced) env.push_back(s);
  }
  for (const char* name : {"HOME=", "GMT_USERDIR=", "GMT_TMPDIR="})
    env.push_back(name + dir.string());
  env.push_back("GMT_SESSION_NAME=vestra-map");
  return env;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> p;
  for (auto& s : strings) p.push_back(s.data());
  p.push_back(nullptr);
  return p;
}

/// Starts `argv` in `dir`, in a process group of its own, with its
/// standard output on our standard error stream (ours stays clean).
pid_t start(std::vector<char*>& argv, std::vector<char*>& env,
            const fs::path& dir) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) throw MapError(system_error("cannot start GMT"));
  if (pid == 0) {
    setpgid(0, 0);
    if (chdir(dir.c_str()) == 0 && dup2(2, 1) == 1)
      execvpe(argv[0], argv.data(), env.data());
    const std::string msg = std::string("vestra-map: cannot run ") + argv[0] +
                            ": " + std::strerror(errno) + "\n";
    [[maybe_unused]] auto n = write(2, msg.data(), msg.size());
    _exit(127);
  }
  setpgid(pid, pid);  // also here, so that the group exists for the handler
  child = pid;
  if (caught) kill(-pid, SIGTERM);
  return pid;
}

/// Runs `gmt` with `args` in `dir`; throws MapError when it fails.
void run(const std::string& gmt, const Command& args, const fs::path& dir,
         std::vector<char*>& env) {
  SignalGuard::check();
  std::vector<std::string> strings{gmt};
  strings.insert(strings.end(), args.begin(), args.end());
  std::vector<char*> argv = pointers(strings);
  const pid_t pid = start(argv, env, dir);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) {
      child = 0;
      throw MapError("lost the GMT process");
    }
  child = 0;
  SignalGuard::check();
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  std::string command;
  for (std::size_t i = 0; i < std::min<std::size_t>(strings.size(), 3); ++i)
    command += (i ? " " : "") + strings[i];
  throw MapError("GMT failed: " + cli::quote(command + " ...") + " " +
                 (WIFEXITED(status)
                      ? "exited with status " + std::to_string(WEXITSTATUS(status))
                      : "was killed by signal " + std::to_string(WTERMSIG(status))));
}

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern =
      std::string(base && *base ? base : "/tmp") + "/vestra-map.XXXXXX";
  if (!mkdtemp(pattern.data()))
    throw MapError(system_error(
        "cannot make a temporary directory in " +
        cli::quote(fs::path(pattern).parent_path().string())));
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

SignalGuard::SignalGuard() {
  caught = 0;
  struct sigaction action {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  for (int s : kSignals) sigaddset(&action.sa_mask, s);
  // A signal ignored from the start (nohup, a shell's background job) stays
  // ignored.
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &previous[i]);
    if (previous[i].sa_handler != SIG_IGN)
      sigaction(kSignals[i], &action, nullptr);
  }
}

SignalGuard::~SignalGuard() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i)
    sigaction(kSignals[i], &previous[i], nullptr);
}

void SignalGuard::check() {
  if (caught) throw Interrupted{caught};
}

int die_by(int signal) {
  std::fflush(nullptr);
  std::signal(signal, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  std::raise(signal);
  return 128 + signal;
}

void write_data_file(const fs::path& path, const std::string& contents) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                      0644);
  if (fd < 0) throw MapError(system_error("cannot write " + cli::quote(path.string())));
  if (!cli::write_all(fd, contents)) {
    const std::string message = system_error("cannot write " + cli::quote(path.string()));
    close(fd);
    throw MapError(message);
  }
  if (close(fd) != 0)
    throw MapError(system_error("cannot write " + cli::quote(path.string())));
}

fs::path draw_event(const MapEvent& event, const DrawOptions& options,
                    const fs::path& dir, std::size_t number) {
  const MapPlan plan = plan_map(event, options, number);
  for (const DataFile& f : plan.files)
    write_data_file(dir / f.name, f.contents);
  std::vector<std::string> env_strings = gmt_environment(dir);
  std::vector<char*> env = pointers(env_strings);
  for (const Command& c : plan.commands) run(options.gmt, c, dir, env);
  const fs::path picture = dir / plan.picture;
  std::error_code ec;
  if (!fs::is_regular_file(picture, ec) || fs::file_size(picture, ec) == 0)
    throw MapError("GMT made no picture: " + cli::quote(options.gmt) +
                   " ended without an error but wrote no " + plan.picture);
  return picture;
}

}  // namespace vestra::map
