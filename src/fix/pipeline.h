// Events located on several threads, the results written in input order.
#pragma once

#include <cstddef>
#include <iosfwd>

#include "fix/options.h"
#include "fix/reader.h"

namespace fix {

/// Locates every event of `reader` and writes the results to `out` in input
/// order, with `jobs` threads (1: on the calling thread). Returns the number
/// of events.
std::size_t locate_all(EventReader& reader, const Options& options,
                       std::ostream& out);

}  // namespace fix
