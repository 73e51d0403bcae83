// The vestra-map program as a function, so that tests run it in-process:
// reads vestra-fix's GeoJSON and draws one map per event.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace vestra::map {

/// The whole program: `args` without the program's name, the GeoJSON on
/// `in` when no file is named, the help and version texts on `out`,
/// messages on `err`. Returns the exit status: 0, or 1 after a refused
/// command line or input or an event that could not be drawn. After
/// SIGTERM, SIGINT or SIGHUP during drawing the process removes its
/// temporary files and dies by the same signal.
int map_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err);

}  // namespace vestra::map
