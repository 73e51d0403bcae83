// The vestra-fix program: options, inputs, and the events located on
// several threads with the results written in input order.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "fix/event.h"
#include "fix/reader.h"
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

/// Locates every event of `reader` and writes the results to `out` in input
/// order, with `jobs` threads (1: on the calling thread). Returns the number
/// of events.
std::size_t locate_all(EventReader& reader, const Options& options,
                       std::ostream& out);

/// The whole program: exit status 0, or 1 after bad input or a refused
/// command line (messages on `err`).
int fix_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err);

/// The help text.
std::string usage();

}  // namespace fix
