#include "fix/options.h"

#include "cli/command_line.h"

namespace fix {


std::string usage() {
  return "Usage: vestra-fix [OPTION]... [FILE]...\n"
         "Locate the source of each event from the bearings (and arrival\n"
         "times) of its detections: maximum-likelihood fix, 95% confidence\n"
         "ellipse, origin time. FILE is detection JSON or the text format\n"
         "(event station latitude longitude back_azimuth [sigma [time]]);\n"
         "without FILE, or when FILE is -, standard input is read.\n"
         "\n"
         "  --format=FORMAT     text (default), json (one object per event),\n"
         "                      geojson (one FeatureCollection) or quakeml\n"
         "                      (one QuakeML 1.2 document)\n"
         "  --sigma=DEGREES     bearing standard deviation when a detection\n"
         "                      gives none (default 4)\n"
         "  --celerity=MIN:MAX  range of the celerity, km/s (default\n"
         "                      0.22:0.34); one value fixes it\n"
         "  --pick-error=SECONDS standard deviation of an arrival time pick\n"
         "                      (default 10)\n"
         "  --ellipsoid=N       earth ellipsoid as in vestra, 1 to 25\n"
         "                      (default 25, WGS 84)\n"
         "  -j, --jobs=N        events located on N threads (default: one\n"
         "                      per core)\n"
         "  -h, --help          this text\n"
         "      --version       the version\n"
         "\n"
         "Exit status: 0, or 1 after bad input (the other events are still\n"
         "located) or a refused command line.\n";
}

namespace {

enum Code { kFormat = cli::kFirstLongOnly, kSigma, kCelerity, kPickError,
            kEllipsoid };

const option kOptions[] = {
    {"format", required_argument, nullptr, kFormat},
    {"sigma", required_argument, nullptr, kSigma},
    {"celerity", required_argument, nullptr, kCelerity},
    {"pick-error", required_argument, nullptr, kPickError},
    {"ellipsoid", required_argument, nullptr, kEllipsoid},
    {"jobs", required_argument, nullptr, 'j'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, cli::kVersion},
    {nullptr, 0, nullptr, 0}};

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
  switch (code) {
    case kFormat:
      if (value == "text") o.format = Format::text;
      else if (value == "json") o.format = Format::json;
      else if (value == "geojson") o.format = Format::geojson;
      else if (value == "quakeml") o.format = Format::quakeml;
      else
        return cli::quote(value) +
               " is not one of text, json, geojson, quakeml";
      return "";
    case kSigma:
      return cli::read_number(value, sigma_range, o.settings.sigma_deg);
    case kCelerity:
      return read_celerity(value, o.settings);
    case kPickError:
      return cli::read_number(value, pick_error_range,
                              o.settings.pick_error_s);
    case kEllipsoid: {
      long long n = 0;
      std::string problem = cli::read_integer(value, 1, 25, n);
      if (problem.empty()) o.settings.ellipsoid = static_cast<int>(n);
      return problem;
    }
    case 'j':
      return cli::read_jobs(value, o.jobs);
  }
  return "";
}

}  // namespace

std::string parse_options(const std::vector<std::string>& args, Options& o) {
  cli::OptionReader reader("vestra-fix", args, "hj:", kOptions);
  const std::string refused = cli::read_options(
      reader, o.help, o.version,
      [&](int code, const std::string& value) {
        return read_option(code, value, o);
      });
  if (!refused.empty()) return refused;
  o.files = reader.operands();
  // Arrival times without any error would get infinite weights.
  if (o.settings.pick_error_s == 0.0 &&
      o.settings.celerity_min == o.settings.celerity_max)
    return "--pick-error: \"0\" with a single --celerity leaves the arrival "
           "times no error; give a pick error above 0";
  return "";
}

}  // namespace fix
