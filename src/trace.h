// Debug traces: when the process-wide `debug` is nonzero, one line on the
// standard error stream made of the source path of the trace statement, ":",
// its line number, ":: debug: " and the message, e.g.
//   DEBUG_TRACE("Pitting " << p1.get_name() << " against " << p2.get_name() << "\n");
#pragma once

#include <iostream>

extern int debug;

#define DEBUG_TRACE(message)                                               \
  do {                                                                     \
    if (debug) std::cerr << __FILE__ << ":" << __LINE__ << ":: debug: "    \
                         << message;                                       \
  } while (0)
