// Version record, fixed at build time.
#pragma once

extern const char* shortVersion;  ///< "vestra Ver: <revision>"
extern const char* Version;       ///< "vestra Version <revision> <date> <time> by <maintainer>"
extern const char* Copyright;     ///< two lines joined by "\n"
extern const char* Bugs;          ///< where to send bug reports
extern const char* tamver;        ///< "$tamver <revision>", for tools searching the executable
