// The vestra-assoc program as a function, so that tests run it in-process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "assoc/options.h"
#include "cli/command_line.h"

namespace assoc {

/// What a run writes, each output whole.
struct Written {
  std::string events;        ///< the detections of the events
  std::string unassociated;  ///< the others, when asked for
  /// False when the association could not run at all (reported).
  bool complete = false;
};

/// The work of vestra-assoc for the command line `c` (its help and version
/// aside): reads the files of `c`, or `in` (named `in_name` in messages),
/// associates and renders the events and, when `unassociated`, the
/// detections of no event, in the format of `c`. Bad input is reported on
/// `diagnostics`, the rest of the input still associated.
Written run(const CommandLine& c, std::istream& in,
            cli::Diagnostics& diagnostics, bool unassociated,
            const std::string& in_name = "<stdin>");

/// The whole program: exit status 0, or 1 after bad input, an output that
/// could not be written or a refused command line (messages on `err`).
int assoc_main(const std::vector<std::string>& args, std::istream& in,
               std::ostream& out, std::ostream& err);

}  // namespace assoc
