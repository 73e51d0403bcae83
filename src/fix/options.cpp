#include "fix/options.h"

#include <charconv>
#include <cmath>

#include "fix/reader.h"

namespace fix {

namespace {

// A number option's value: the whole text must be a finite number.
bool parse_number(const std::string& text, double& value) {
  const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  return r.ec == std::errc() && r.ptr == text.data() + text.size() &&
         std::isfinite(value);
}

bool parse_unsigned(const std::string& text, unsigned long& value) {
  const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  return r.ec == std::errc() && r.ptr == text.data() + text.size();
}

}  // namespace

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

std::string parse_options(const std::vector<std::string>& args,
                          Options& o) {
  bool only_files = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (only_files || a == "-" || a.empty() || a[0] != '-') {
      o.files.push_back(a);
      continue;
    }
    if (a == "--") {
      only_files = true;
      continue;
    }
    if (a == "-h" || a == "--help") {
      o.help = true;
      continue;
    }
    if (a == "--version") {
      o.version = true;
      continue;
    }
    // An option with a value: --name=value, --name value, -j N or -jN.
    std::string name = a, value;
    bool has_value = false;
    if (a.rfind("--", 0) == 0) {
      const std::size_t eq = a.find('=');
      if (eq != std::string::npos) {
        name = a.substr(0, eq);
        value = a.substr(eq + 1);
        has_value = true;
      }
    } else if (a.rfind("-j", 0) == 0 && a.size() > 2) {
      name = "-j";
      value = a.substr(2);
      has_value = true;
    }
    static const char* const known[] = {"--format", "--sigma", "--celerity",
                                        "--pick-error", "--ellipsoid",
                                        "--jobs", "-j"};
    bool is_known = false;
    for (const char* k : known) is_known = is_known || name == k;
    if (!is_known) return "unknown option " + quote(a);
    if (!has_value) {
      if (i + 1 >= args.size()) return "option " + name + " needs a value";
      value = args[++i];
    }
    const std::string bad = "invalid value for " + name + ": " + quote(value);
    if (name == "--format") {
      if (value == "text") o.format = Format::text;
      else if (value == "json") o.format = Format::json;
      else if (value == "geojson") o.format = Format::geojson;
      else if (value == "quakeml") o.format = Format::quakeml;
      else return bad + " (text, json, geojson or quakeml)";
    } else if (name == "--sigma") {
      double v;
      if (!parse_number(value, v) || !(v > 0.0) || v > 90.0)
        return bad + " (degrees, above 0 and at most 90)";
      o.settings.sigma_deg = v;
    } else if (name == "--celerity") {
      const std::size_t colon = value.find(':');
      double lo, hi;
      const bool ok =
          colon == std::string::npos
              ? parse_number(value, lo) && (hi = lo, true)
              : parse_number(value.substr(0, colon), lo) &&
                    parse_number(value.substr(colon + 1), hi);
      if (!ok || !(lo > 0.0) || !(hi >= lo) || hi > 100.0)
        return bad + " (km/s, MIN:MAX with 0 < MIN <= MAX <= 100)";
      o.settings.celerity_min = lo;
      o.settings.celerity_max = hi;
    } else if (name == "--pick-error") {
      double v;
      if (!parse_number(value, v) || v < 0.0 || v > 1e6)
        return bad + " (seconds, 0 to 1e6)";
      o.settings.pick_error_s = v;
    } else if (name == "--ellipsoid") {
      unsigned long v;
      if (!parse_unsigned(value, v) || v < 1 || v > 25)
        return bad + " (1 to 25)";
      o.settings.ellipsoid = static_cast<int>(v);
    } else {  // --jobs, -j
      unsigned long v;
      if (!parse_unsigned(value, v) || v < 1 || v > 1024)
        return bad + " (1 to 1024)";
      o.jobs = static_cast<unsigned>(v);
    }
  }
  return "";
}

}  // namespace fix
