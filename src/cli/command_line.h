// The command line and the messages of the companion programs (vestra-fix,
// vestra-map, vestra-assoc): one option grammar, one number reader, one
// way of quoting a value, one message form, one version line.
//
// Grammar. Options are read by getopt_long: long options with their value
// after "=" or as the next argument, any unambiguous prefix of a long
// option, short options (clustered, "-j4" or "-j 4"), "--" ending the
// options, operands anywhere (getopt_long moves them behind the options).
// Every program has -h/--help and --version; those that run on several
// threads have -j/--jobs.
//
// Messages. Everything a program refuses goes to the standard error stream
// as one line "PROGRAM: WHERE: WHAT" (or "PROGRAM: WHAT"); a refused
// command line adds "Try 'PROGRAM --help'." and ends with status 1.
//
// Numbers. A number is the whole value, as C++'s from_chars reads a decimal
// floating-point number, with an optional leading "+":
//
//   value                          result
//   "120", "+120", "-1.5e2"        120, 120, -150
//   "1e-999"                       0 (the nearest double)
//   "", " 120", "120 ", "12x",     refused: is not a number
//   "0x10", "1,5", "."
//   "inf", "nan", "-infinity"      refused: is not a finite number
//   "1e999", "-1e400"              refused: is out of range
//
// A value is quoted in messages as "text", cut after 64 bytes (before a
// UTF-8 continuation byte, never inside a character) with the length of
// the whole value added, so that a huge argument cannot flood the stream.
#pragma once

#include <getopt.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

/// `text` in double quotes for a message: at most 64 bytes of it, cut
/// before a UTF-8 continuation byte, then "... (N bytes)" when it is longer.
std::string quote(std::string_view text);

/// An interval of numbers, each end open or closed.
struct Range {
  double lo, hi;
  bool lo_open = false, hi_open = false;
  bool contains(double v) const;
  /// "[-90, 90]", "(0, 90]": the interval as a message writes it.
  std::string text() const;
};

/// Reads the whole of `text` as a finite decimal number into `value`.
/// Returns "" or what is wrong, with the value quoted: "\"12x\" is not a
/// number", "\"nan\" is not a finite number", "\"1e999\" is out of range".
std::string read_number(std::string_view text, double& value);
/// The same, and the number must lie in `range`: "\"95\" is outside
/// [-90, 90]".
std::string read_number(std::string_view text, const Range& range,
                        double& value);
/// Reads the whole of `text` as a decimal integer (optional sign, digits
/// only) in [lo, hi]: "\"1.5\" is not a whole number", "\"0\" is outside
/// [1, 1024]".
std::string read_integer(std::string_view text, long long lo, long long hi,
                         long long& value);

/// Counts and reports bad input on an error stream, one line per report:
/// "PROGRAM: WHERE: WHAT".
class Diagnostics {
 public:
  Diagnostics(std::string program, std::ostream& err)
      : program_(std::move(program)), err_(err) {}
  /// Reports an error at `where` (a file, "file:line", "file: [index]").
  void error(const std::string& where, const std::string& what);
  /// Reports an error that belongs to no place in the input.
  void error(const std::string& what);
  /// A line that is not an error (the status is not changed by it).
  void note(const std::string& what);
  std::size_t errors() const { return errors_; }
  const std::string& program() const { return program_; }

 private:
  std::string program_;
  std::ostream& err_;
  std::size_t errors_ = 0;
};

/// "PROGRAM (vestra Ver: REVISION)\n".
std::string version_line(const std::string& program);

/// Flushes `out` and reports a failed write of the output ("PROGRAM: cannot
/// write the output: REASON"). True when everything was written.
bool finish_output(std::ostream& out, Diagnostics& diagnostics);

/// Code of --version; the long-only options of a program follow it.
inline constexpr int kVersion = 0x100;
inline constexpr int kFirstLongOnly = 0x101;

/// Reads a command line with getopt_long. Use:
///
///   cli::OptionReader reader("vestra-fix", args, "hj:", kOptions);
///   for (int code; (code = reader.next()) != -1;)
///     switch (code) { case 'j': ... reader.value() ...; case '?': error }
///
/// next() returns each option's code (its `val` in the table), '?' for a
/// refused option with message() saying why, and -1 at the end; then
/// operands() holds the arguments that are not options.
class OptionReader {
 public:
  /// `args` without the program's name. `short_options` as for getopt
  /// (without the leading ':' or '+'); `long_options` ends with a zero row.
  OptionReader(std::string program, const std::vector<std::string>& args,
               const char* short_options, const option* long_options);
  int next();
  /// The value of the option just read ("" for one without a value).
  const std::string& value() const { return value_; }
  /// The option just read, as a message names it: "--sigma" or "-j".
  const std::string& name() const { return name_; }
  /// Why the option just read was refused.
  const std::string& message() const { return message_; }
  /// The arguments that are not options, in order; valid after next()
  /// returned -1.
  const std::vector<std::string>& operands() const { return operands_; }
  /// "NAME: WHAT" for a refused value of the option just read.
  std::string bad_value(const std::string& what) const {
    return name_ + ": " + what;
  }

 private:
  std::string refusal(int code) const;

  std::string program_;
  std::vector<std::string> storage_;
  std::vector<char*> argv_;
  std::string short_options_;
  const option* long_options_;
  std::string value_, name_, message_;
  std::vector<std::string> operands_;
  bool done_ = false;
};

/// Reads every option of `reader`: -h/--help sets `help`, --version sets
/// `version`, and every other option is handed with its value to
/// `read_value`, which returns "" or what is wrong with the value. Returns
/// "" or the message of the refused command line ("NAME: WHAT" for a bad
/// value); the operands are then in reader.operands().
std::string read_options(
    OptionReader& reader, bool& help, bool& version,
    const std::function<std::string(int code, const std::string& value)>&
        read_value);

/// Writes "PROGRAM: MESSAGE" and "Try 'PROGRAM --help'." on `err`; returns
/// the status of a refused command line, 1.
int refuse_command_line(const std::string& program, const std::string& message,
                        std::ostream& err);

/// The number of worker threads: `jobs`, or one per core when it is 0.
unsigned worker_count(unsigned jobs);
/// Reads the value of -j/--jobs (1 to 1024) into `jobs`; "" or what is
/// wrong.
std::string read_jobs(std::string_view text, unsigned& jobs);

}  // namespace cli
