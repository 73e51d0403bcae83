#include "run_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void ProgramRun::setenv(const std::string& assignment) {
  const std::string name = assignment.substr(0, assignment.find('=') + 1);
  std::erase_if(env, [&](const std::string& e) { return e.rfind(name, 0) == 0; });
  env.push_back(assignment);
}

ProgramResult run_program(const char* binary, const ProgramRun& run) {
  char dir_template[] = "/tmp/vestra-run-XXXXXX";
  const char* dir = mkdtemp(dir_template);
  if (!dir) throw std::runtime_error("mkdtemp failed");
  for (const auto& d : run.dirs) fs::create_directories(fs::path(dir) / d);
  for (const auto& f : run.files)
    fs::copy_file(f, fs::path(dir) / fs::path(f).filename());
  const fs::path out_path = fs::path(dir) / ".stdout";
  const fs::path err_path = fs::path(dir) / ".stderr";

  std::vector<std::string> argv_s{run.argv0};
  argv_s.insert(argv_s.end(), run.args.begin(), run.args.end());
  std::vector<char*> argv;
  for (auto& a : argv_s) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::vector<std::string> env_s = run.env;
  std::vector<char*> envp;
  for (auto& e : env_s) envp.push_back(e.data());
  envp.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, dir);
  const std::string input = run.stdin_path.empty() ? "/dev/null" : run.stdin_path;
  posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid;
  int rc = posix_spawn(&pid, binary, &actions, nullptr, argv.data(),
                       envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    fs::remove_all(dir);
    throw std::runtime_error("posix_spawn failed");
  }
  int wstatus = 0;
  while (waitpid(pid, &wstatus, 0) < 0 && errno == EINTR) {
  }

  ProgramResult r;
  r.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
  r.out = read_file(out_path);
  r.err = read_file(err_path);
  r.log = read_file(fs::path(dir) / "logfile");
  fs::remove_all(dir);
  return r;
}
