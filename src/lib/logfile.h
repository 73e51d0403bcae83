// Run log: one appended line per run with the time and the arguments.
#pragma once

#include <cstddef>
#include <cstdio>

/// Appends the line for these arguments to the file "logfile" in the
/// working directory.
void logfile(int argc, char** argv);
/// The same for the file named `logfile`.
///
/// The line is the local time ("%x %X" in the time locale of the
/// environment), then each argument after a blank, quoted where it holds a
/// blank, ',' or '*'. The whole line reaches the file with a single write,
/// so processes logging to the same file at once never mix their lines.
/// When the file cannot be opened, "No logfile entry\n" goes to stderr.
void flogfile(const char* logfile, int argc, const char** argv);
/// A malloc'ed copy of `s` with a backslash before each '"' and '\\'; the
/// caller frees it. Null or empty `s` gives a new empty string. Null when
/// the copy cannot be allocated.
char* quote_string(const char* s);
/// Writes one argument that needs quoting, with its leading blank.
void logfile_long_opt(const char* s, FILE* lfile);

namespace logfile_internal {
/// The allocator behind quote_string (std::malloc). Internal to the unit;
/// only the tests replace it, to make the allocation fail.
extern void* (*quote_alloc)(std::size_t size);
}  // namespace logfile_internal
