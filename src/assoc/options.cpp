#include "assoc/options.h"

#include "cli/command_line.h"
#include "fix/iso_time.h"
#include "fix/options.h"

namespace assoc {

std::string usage() {
  const char* head =
      "Usage: vestra-assoc [OPTION]... [FILE]...\n"
      "Group the detections of several arrays into events: bearings that\n"
      "cross and arrival times that fit one source and origin time, each\n"
      "event confirmed by vestra-fix's locator. FILE is detection JSON or\n"
      "the text format, as vestra-fix reads them; the files are one input;\n"
      "without FILE, or when FILE is -, standard input is read. Writes the\n"
      "detections of the events, each with its event's label.\n"
      "\n"
      "  --format=FORMAT     json (default: detection JSON, one detection\n"
      "                      a line) or text (vestra-fix's text format)\n"
      "  --unassociated=FILE write the detections of no event to FILE\n"
      "  --min-detections=N  least detections of an event (default 3)\n"
      "  --min-arrays=N      least arrays of an event (default 2)\n"
      "  --threshold=SCORE   least score of an event, the log-likelihood\n"
      "                      ratio against clutter (default 12.25)\n"
      "  --copies=N          associate N copies shifted in time array by\n"
      "                      array to estimate the false events (default 0)\n"
      "  --max-false=F       with --copies: raise the threshold until the\n"
      "                      expected false events are at most F of those\n"
      "                      kept\n"
      "  --from=TIME         write only the events whose first arrival, and\n"
      "  --to=TIME           the other detections whose time, lies in\n"
      "                      [TIME, TIME) (ISO 8601, UTC): a split run\n";
  return head + fix::location_usage() +
         "  -j, --jobs=N        days associated on N threads (default: one\n"
         "                      per core)\n"
         "  -h, --help          this text\n"
         "      --version       the version\n"
         "\n"
         "Exit status: 0, or 1 after bad input (the other detections are\n"
         "still associated), an output that could not be written or a\n"
         "refused command line.\n";
}

namespace {

enum Code {
  kFormat = fix::kFirstProgramOption,
  kUnassociated,
  kMinDetections,
  kMinArrays,
  kThreshold,
  kCopies,
  kMaxFalse,
  kFrom,
  kTo
};

const std::vector<option> kOptions = fix::location_option_table(
    {{"format", required_argument, nullptr, kFormat},
     {"unassociated", required_argument, nullptr, kUnassociated},
     {"min-detections", required_argument, nullptr, kMinDetections},
     {"min-arrays", required_argument, nullptr, kMinArrays},
     {"threshold", required_argument, nullptr, kThreshold},
     {"copies", required_argument, nullptr, kCopies},
     {"max-false", required_argument, nullptr, kMaxFalse},
     {"from", required_argument, nullptr, kFrom},
     {"to", required_argument, nullptr, kTo},
     {"jobs", required_argument, nullptr, 'j'}});

std::string read_count(const std::string& value, long long lo, long long hi,
                       std::size_t& out) {
  long long n = 0;
  std::string problem = cli::read_integer(value, lo, hi, n);
  if (problem.empty()) out = static_cast<std::size_t>(n);
  return problem;
}

// An ISO 8601 time, or a date alone for its midnight (UTC).
std::string read_time(const std::string& value, double& out) {
  auto t = fix::parse_iso_time(value);
  if (!t && value.size() == 10) t = fix::parse_iso_time(value + "T00:00:00");
  if (!t) return cli::quote(value) + " is not an ISO 8601 time";
  out = *t;
  return "";
}

std::string read_own(int code, const std::string& value, CommandLine& c) {
  Options& o = c.options;
  std::size_t n = 0;
  std::string problem;
  switch (code) {
    case kFormat:
      if (value == "json") c.format = OutputFormat::json;
      else if (value == "text") c.format = OutputFormat::text;
      else return cli::quote(value) + " is not one of json, text";
      return "";
    case kUnassociated:
      if (value.empty()) return "\"\" is not a file name";
      c.unassociated = value;
      return "";
    case kMinDetections:
      return read_count(value, 2, 1000, o.min_detections);
    case kMinArrays:
      return read_count(value, 2, 1000, o.min_arrays);
    case kThreshold:
      return cli::read_number(value, cli::Range{0.0, 1e6}, o.threshold);
    case kCopies:
      problem = read_count(value, 0, 100, n);
      o.copies = static_cast<unsigned>(n);
      return problem;
    case kMaxFalse:
      return cli::read_number(value, cli::Range{0.0, 1.0}, o.max_false);
    case kFrom:
      return read_time(value, c.slice.from);
    case kTo:
      return read_time(value, c.slice.to);
  }
  return "";
}

}  // namespace

std::string parse_command_line(const std::vector<std::string>& args,
                               CommandLine& c) {
  c.options.jobs = 0;  // one per core unless -j says otherwise
  cli::OptionReader reader("vestra-assoc", args, "hj:", kOptions.data());
  const std::string refused = cli::read_options(
      reader, c.help, c.version, [&](int code, const std::string& value) {
        bool known = true;
        const std::string problem = fix::read_location_option(
            code, value, c.options.settings, c.options.jobs, known);
        return known ? problem : read_own(code, value, c);
      });
  if (!refused.empty()) return refused;
  c.files = reader.operands();
  if (c.options.max_false > 0.0 && c.options.copies == 0)
    return "--max-false: needs --copies above 0 to measure the false events";
  if (!(c.slice.from < c.slice.to))
    return "--to: not after --from";
  return fix::check_location_options(c.options.settings);
}

}  // namespace assoc
