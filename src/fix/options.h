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

// The options of the location, which vestra-fix and vestra-assoc share:
// --sigma, --celerity, --pick-error, --ellipsoid and -j/--jobs, with one
// grammar, one set of defaults and one set of messages.

/// Codes of the shared long-only options; a program's own long-only
/// options start at kFirstProgramOption.
enum LocationCode {
  kSigma = cli::kFirstLongOnly,
  kCelerity,
  kPickError,
  kEllipsoid,
  kFirstProgramOption
};

/// An option table: the shared options, then `own` (without the zero row),
/// then -h/--help, --version and the zero row that ends it.
std::vector<option> location_option_table(const std::vector<option>& own);

/// Reads the value of a shared option `code` into `settings` or `jobs`;
/// returns "" or what is wrong. False in `known` for a code that is not a
/// shared option.
std::string read_location_option(int code, const std::string& value,
                                 Settings& settings, unsigned& jobs,
                                 bool& known);

/// What is wrong with the shared options taken together, or "".
std::string check_location_options(const Settings& settings);

/// The lines of the help text for --sigma, --celerity, --pick-error and
/// --ellipsoid.
std::string location_usage();

/// The help text.
std::string usage();

}  // namespace fix
