// The command line of vestra-fix.
#pragma once

#include <string>
#include <vector>

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

/// The help text.
std::string usage();

}  // namespace fix
