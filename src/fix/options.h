// The command line of vestra-fix.
#pragma once

#include <string>
#include <vector>

#include "cli/command_line.h"
#include "fix/event.h"
#include "fix/writer.h"

namespace fix {

/// A parsed command line.
struct Options {
  Settings settings;
  Format format = Format::text;
  unsigned jobs = 0;               ///< worker threads; 0: one per core
  std::vector<std::string> files;  ///< inputs; empty or "-": standard input
  bool help = false, version = false;
};

/// Reads the command line (`args` without the program name) into `options`;
/// returns an empty string, or the message for a refused command line.
std::string parse_options(const std::vector<std::string>& args,
                          Options& options);

/// The limits of --sigma (degrees) and --pick-error (seconds).
inline constexpr cli::Range sigma_range{0.001, 90.0};
inline constexpr cli::Range pick_error_range{0.0, 1e6};

/// The help text.
std::string usage();

}  // namespace fix
