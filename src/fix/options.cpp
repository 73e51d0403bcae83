#include "fix/options.h"

#include "cli/command_line.h"

namespace fix {

std::string location_usage() {
  return "  --sigma=DEGREES     bearing standard deviation when a detection\n"
         "                      gives none (default 4)\n"
         "  --celerity=MIN:MAX  range of the celerity, km/s (default\n"
         "                      0.22:0.34); one value fixes it\n"
         "  --pick-error=SECONDS standard deviation of an arrival time pick\n"
         "                      (default 10)\n"
         "  --ellipsoid=N       earth ellipsoid as in vestra, 1 to 25\n"
         "                      (default 25, WGS 84)\n";
}

std::string usage() {
  const char* head =
         "Usage: vestra-fix [OPTION]... [FILE]...\n"
         "Locate the source of each event from the bearings (and arrival\n"
         "times) of its detections: maximum-likelihood fix, 95% confidence\n"
         "ellipse, origin time. FILE is detection JSON or the text format\n"
         "(event station latitude longitude back_azimuth [sigma [time]]);\n"
         "without FILE, or when FILE is -, standard input is read.\n"
         "\n"
         "  --format=FORMAT     text (default), json (one object per event),\n"
         "                      geojson (one FeatureCollection) or quakeml\n"
         "                      (one QuakeML 1.2 document)\n";
  return head + location_usage() +
         "  -j, --jobs=N        events located on N threads (default: one\n"
         "                      per core)\n"
         "  -h, --help          this text\n"
         "      --version       the version\n"
         "\n"
         "Exit status: 0, or 1 after bad input (the other events are still\n"
         "located) or a refused command line.\n";
}

namespace {

enum Code { kFormat = kFirstProgramOption };

const std::vector<option> kOptions = location_option_table(
    {{"format", required_argument, nullptr, kFormat},
     {"jobs", required_argument, nullptr, 'j'}});

// The celerity range "MIN:MAX", or one value for both.
std::string read_celerity(const std::string& text, Settings& settings) {
  const cli::Range range{0.0, 100.0, true, false};
  const std::size_t colon = text.find(':');
  double lo = 0.0, hi = 0.0;
  std::string problem =
      cli::read_number(text.substr(0, colon), range, lo);
  if (problem.empty())
    problem = colon == std::string::npos
                  ? cli::read_number(text, range, hi)
                  : cli::read_number(text.substr(colon + 1), range, hi);
  if (problem.empty() && lo > hi)
    problem = cli::quote(text) + " has MIN above MAX";
  if (!problem.empty()) return problem + " (km/s, MIN:MAX or one value)";
  settings.celerity_min = lo;
  settings.celerity_max = hi;
  return "";
}

std::string read_option(int code, const std::string& value, Options& o) {
  bool known = true;
  std::string problem =
      read_location_option(code, value, o.settings, o.jobs, known);
  if (known) return problem;
  if (code != kFormat) return "";
  if (value == "text") o.format = Format::text;
  else if (value == "json") o.format = Format::json;
  else if (value == "geojson") o.format = Format::geojson;
  else if (value == "quakeml") o.format = Format::quakeml;
  else
    return cli::quote(value) + " is not one of text, json, geojson, quakeml";
  return "";
}

}  // namespace

std::vector<option> location_option_table(const std::vector<option>& own) {
  std::vector<option> table = {
      {"sigma", required_argument, nullptr, kSigma},
      {"celerity", required_argument, nullptr, kCelerity},
      {"pick-error", required_argument, nullptr, kPickError},
      {"ellipsoid", required_argument, nullptr, kEllipsoid}};
  table.insert(table.end(), own.begin(), own.end());
  table.push_back({"help", no_argument, nullptr, 'h'});
  table.push_back({"version", no_argument, nullptr, cli::kVersion});
  table.push_back({nullptr, 0, nullptr, 0});
  return table;
}

std::string read_location_option(int code, const std::string& value,
                                 Settings& settings, unsigned& jobs,
                                 bool& known) {
  known = true;
  switch (code) {
    case kSigma:
      return cli::read_number(value, sigma_range, settings.sigma_deg);
    case kCelerity:
      return read_celerity(value, settings);
    case kPickError:
      return cli::read_number(value, pick_error_range, settings.pick_error_s);
    case kEllipsoid: {
      long long n = 0;
      std::string problem = cli::read_integer(value, 1, 25, n);
      if (problem.empty()) settings.ellipsoid = static_cast<int>(n);
      return problem;
    }
    case 'j':
      return cli::read_jobs(value, jobs);
  }
  known = false;
  return "";
}

std::string check_location_options(const Settings& s) {
  // Arrival times without any error would get infinite weights.
  if (s.pick_error_s == 0.0 && s.celerity_min == s.celerity_max)
    return "--pick-error: \"0\" with a single --celerity leaves the arrival "
           "times no error; give a pick error above 0";
  return "";
}

std::string parse_options(const std::vector<std::string>& args, Options& o) {
  cli::OptionReader reader("vestra-fix", args, "hj:", kOptions.data());
  const std::string refused = cli::read_options(
      reader, o.help, o.version,
      [&](int code, const std::string& value) {
        return read_option(code, value, o);
      });
  if (!refused.empty()) return refused;
  o.files = reader.operands();
  return check_location_options(o.settings);
}

}  // namespace fix
