// Version record. The revision identifier (git describe form) is generated
// at build time; the date and time are those of this file's compilation.

#include "version.h"

#include "vestra_revision.h"

const char* shortVersion = "vestra Ver: " VESTRA_REVISION;
const char* Version = "vestra Version " VESTRA_REVISION " " __DATE__
                      " " __TIME__ " by the vestra project";
const char* Copyright =
    "Copyright (C) 2026 the vestra project.\n"
    "This is free software; there is NO warranty.";
const char* Bugs = "Send bug reports and comments to the vestra project's issue tracker.";
const char* tamver = "$tamver " VESTRA_REVISION;
