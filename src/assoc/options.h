// The command line of vestra-assoc.
#pragma once

#include <string>
#include <vector>

#include "assoc/associate.h"
#include "assoc/labels.h"

namespace assoc {

/// What vestra-assoc writes: detection JSON or vestra-fix's text format.
enum class OutputFormat { json, text };

/// A parsed command line.
struct CommandLine {
  Options options;  ///< the association's; jobs 0: one per core
  OutputFormat format = OutputFormat::json;
  std::string unassociated;  ///< file for the detections of no event, or ""
  Slice slice;               ///< --from and --to
  std::vector<std::string> files;  ///< inputs; empty or "-": standard input
  bool help = false, version = false;
};

/// Reads the command line (`args` without the program name) into `line`;
/// returns an empty string, or the message for a refused command line.
std::string parse_command_line(const std::vector<std::string>& args,
                               CommandLine& line);

/// The help text.
std::string usage();

}  // namespace assoc
