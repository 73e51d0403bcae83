// Run log: one appended line per run with the time and the arguments.
//
// A line: the local time formatted with "%x %X", then for each argument a
// blank and the argument in one of three forms:
//   1. no blank, ',' or '*' in it:        written as it is;
//   2. "--name=value" with one of them:   --name="value" (value escaped);
//   3. any other with one of them:        "argument" (escaped);
// and a line end. Escaping puts a backslash before each '"' and '\\'.
//
// One write per line. Many processes may append to the same file at once.
// The file is opened in append mode (O_APPEND), so each write(2) lands at the
// end of the file as a whole, but the C library splits what it is given into
// writes of its buffer size (a few KiB), and the pieces of two processes'
// long lines could then alternate. So before anything is written the stream
// gets a buffer at least as large as the line can become (line_bound). The
// line never fills it; the only flush is at fclose, which hands the whole
// line to the kernel in one write(2), whatever its length. Only when that
// buffer cannot be allocated does the line go out in the C library's usual
// pieces.

#include "lib/logfile.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace logfile_internal {
void* (*quote_alloc)(std::size_t size) = std::malloc;
}  // namespace logfile_internal

namespace {

/// Attempts to open the file before giving up, with no pause between them.
constexpr int retries = 11;
/// Size of the time stamp buffer: at most 29 characters and the terminator.
constexpr std::size_t time_buffer_size = 30;
/// Characters that make an argument need quoting.
constexpr const char* needs_quoting = " ,*";

/// Sets the time locale from the environment for the lifetime of the object
/// and puts the previous setting back on every way out.
class time_locale_from_environment {
 public:
  time_locale_from_environment() {
    // setlocale returns a pointer into the library's own storage, which the
    // next call may overwrite or free: keep a copy.
    const char* current = std::setlocale(LC_TIME, nullptr);
    old_locale_ = current != nullptr ? current : "C";
    // When the environment names no usable locale, the one in force stays.
    std::setlocale(LC_TIME, "");
  }
  ~time_locale_from_environment() {
    std::setlocale(LC_TIME, old_locale_.c_str());
  }
  time_locale_from_environment(const time_locale_from_environment&) = delete;
  time_locale_from_environment& operator=(
      const time_locale_from_environment&) = delete;

 private:
  std::string old_locale_;
};

/// Whether `s` is written in form 2 or 3 rather than as it is.
bool needs_quotes(const char* s) {
  return std::strpbrk(s, needs_quoting) != nullptr;
}

/// An upper bound in bytes of the line for these arguments, or 0 when it
/// does not fit in a size_t.
std::size_t line_bound(int argc, const char** argv) {
  std::size_t bound = time_buffer_size + 1;  // time stamp and line end
  for (int i = 0; i < argc; ++i) {
    const std::size_t len = argv[i] != nullptr ? std::strlen(argv[i]) : 0;
    // Blank, '=', two quotes, and every character escaped at worst.
    constexpr std::size_t extra = 4;
    if (len > (SIZE_MAX - extra) / 2 || bound > SIZE_MAX - (2 * len + extra))
      return 0;
    bound += 2 * len + extra;
  }
  return bound < SIZE_MAX ? bound + 1 : 0;
}

/// Writes `s` escaped and in double quotes.
void write_quoted(const char* s, FILE* lfile) {
  char* escaped = quote_string(s);
  // When the escaped copy cannot be allocated, the text is written as it
  // stands between the quotes: the line is still written, holds every
  // character of the argument, and only the backslashes are missing.
  std::fprintf(lfile, "\"%s\"", escaped != nullptr ? escaped : s);
  std::free(escaped);
}

/// Writes the time stamp: the local time as "%x %X".
void write_time_stamp(FILE* lfile) {
  char buffer[time_buffer_size] = "";
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr ||
      std::strftime(buffer, sizeof buffer, "%x %X", &local) == 0)
    buffer[0] = '\0';
  std::fputs(buffer, lfile);
}

}  // namespace

char* quote_string(const char* s) {
  if (s == nullptr) s = "";
  std::size_t escapes = 0;
  const std::size_t len = std::strlen(s);
  for (const char* p = s; *p != '\0'; ++p)
    if (*p == '"' || *p == '\\') ++escapes;

  char* quoted =
      static_cast<char*>(logfile_internal::quote_alloc(len + escapes + 1));
  if (quoted == nullptr) return nullptr;
  char* out = quoted;
  for (const char* p = s; *p != '\0'; ++p) {
    if (*p == '"' || *p == '\\') *out++ = '\\';
    *out++ = *p;
  }
  *out = '\0';
  return quoted;
}

void logfile_long_opt(const char* s, FILE* lfile) {
  const char* equals = std::strchr(s, '=');
  if (std::strncmp(s, "--", 2) == 0 && equals != nullptr) {
    // Form 2: the name and "=" as they stand, then the value in quotes.
    std::fputc(' ', lfile);
    std::fwrite(s, 1, static_cast<std::size_t>(equals - s) + 1, lfile);
    write_quoted(equals + 1, lfile);
  } else {
    // Form 3: the whole argument in quotes.
    std::fputc(' ', lfile);
    write_quoted(s, lfile);
  }
}

void flogfile(const char* logfile, int argc, const char** argv) {
  time_locale_from_environment time_locale;

  FILE* lfile = nullptr;
  for (int attempt = 0; attempt < retries && lfile == nullptr; ++attempt)
    lfile = std::fopen(logfile, "a");
  if (lfile == nullptr) {
    std::fputs("No logfile entry\n", stderr);
    return;
  }

  // A buffer the line cannot fill, so that the line leaves in one write(2)
  // at fclose (see the top of this file). It must outlive the stream.
  const std::size_t size = line_bound(argc, argv);
  char* buffer = size != 0 ? static_cast<char*>(std::malloc(size)) : nullptr;
  if (buffer != nullptr) std::setvbuf(lfile, buffer, _IOFBF, size);

  write_time_stamp(lfile);
  for (int i = 0; i < argc; ++i) {
    const char* arg = argv[i] != nullptr ? argv[i] : "";
    if (needs_quotes(arg)) {
      logfile_long_opt(arg, lfile);
    } else {
      std::fputc(' ', lfile);
      std::fputs(arg, lfile);
    }
  }
  std::fputc('\n', lfile);
  // A failed write or close loses the line; the run goes on regardless.
  std::fclose(lfile);
  std::free(buffer);
}

void logfile(int argc, char** argv) {
  flogfile("logfile", argc, const_cast<const char**>(argv));
}
