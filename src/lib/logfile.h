// Run log: one appended line per run with the time and the arguments.
#pragma once

#include <cstdio>

/// Appends the line for these arguments to the file "logfile".
void logfile(int argc, char** argv);
/// The same for the file named `logfile`.
void flogfile(const char* logfile, int argc, const char** argv);
/// A malloc'ed copy of `s` with a backslash before each '"' and '\\'.
char* quote_string(const char* s);
/// Writes one argument that needs quoting.
void logfile_long_opt(const char* s, FILE* lfile);
