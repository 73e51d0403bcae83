// The vestra-assoc program as a function, so that tests run it in-process.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace assoc {

/// The whole program: exit status 0, or 1 after bad input, an output that
/// could not be written or a refused command line (messages on `err`).
int assoc_main(const std::vector<std::string>& args, std::istream& in,
               std::ostream& out, std::ostream& err);

}  // namespace assoc
