// Runs the built program as a child process in a fresh temporary working
// directory and collects what it leaves behind: standard output, standard
// error stream, exit status and the run log.
#pragma once

#include <string>
#include <vector>

struct ProgramRun {
  std::vector<std::string> args;   ///< arguments after the program name
  std::string argv0 = "vestra";    ///< the program name handed to the child
  std::vector<std::string> env{"LC_ALL=C", "TZ=UTC", "PATH=/usr/bin:/bin"};
  std::vector<std::string> dirs;   ///< directories made in the working dir
  std::vector<std::string> files;  ///< files copied into the working dir
  std::string stdin_path;          ///< standard input ("" for /dev/null)

  /// Sets NAME=VALUE in the child's environment, replacing an earlier value
  /// of NAME (the C library's getenv returns the first one it finds).
  void setenv(const std::string& assignment);
};

struct ProgramResult {
  std::string out, err;  ///< standard output and standard error stream
  int status = -1;       ///< exit status, or 128 + signal number
  std::string log;       ///< contents of ./logfile afterwards ("" if none)
};

/// Runs `binary` as described by `run`.
/// Throws std::runtime_error when the child cannot be started.
ProgramResult run_program(const char* binary, const ProgramRun& run);

/// The whole contents of a file ("" when it cannot be read).
std::string read_file(const std::string& path);
