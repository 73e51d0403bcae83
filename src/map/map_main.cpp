#include "map/map_main.h"

#include <getopt.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include "map/geojson_reader.h"
#include "map/gmt_run.h"
#include "map/output_file.h"
#include "version.h"

namespace vestra::map {

namespace fs = std::filesystem;

namespace {

const char* const kUsage =
    "Usage: vestra-map -o FILE.png|FILE.pdf [OPTION]... [GEOJSON]\n"
    "Draws each event of the GeoJSON that vestra-fix --format=geojson writes\n"
    "(read from GEOJSON, or standard input when it is absent or -) as a map.\n"
    "\n"
    "  -o, --output=FILE     the picture, PNG or PDF by its extension; with\n"
    "                        several events %e in FILE is the event's name,\n"
    "                        %n its number (default: -%e before the extension)\n"
    "      --size=WxH        page size in pixels (default 1200x900)\n"
    "      --dpi=N           pixels per inch: the size of text and symbols\n"
    "                        relative to the page (default 150)\n"
    "      --truth=LAT,LON   mark a known source position\n"
    "      --gmt=PROGRAM     the GMT program to run (default gmt)\n"
    "  -h, --help            this text\n"
    "      --version         the version\n";

enum { kSize = 256, kDpi, kTruth, kGmt, kVersion };

const option kOptions[] = {
    {"output", required_argument, nullptr, 'o'},
    {"size", required_argument, nullptr, kSize},
    {"dpi", required_argument, nullptr, kDpi},
    {"truth", required_argument, nullptr, kTruth},
    {"gmt", required_argument, nullptr, kGmt},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0}};

/// What the command line asks for.
struct MapOptions {
  DrawOptions draw;
  std::string output;       ///< the -o pattern
  std::string input = "-";  ///< the GeoJSON file; "-" for standard input
  bool help = false, version = false;
};

/// A whole decimal number in [lo, hi]; false for anything else.
bool read_int(const std::string& text, int lo, int hi, int& value) {
  if (text.empty() || !std::isdigit(static_cast<unsigned char>(text[0])))
    return false;
  errno = 0;
  char* end = nullptr;
  long v = std::strtol(text.c_str(), &end, 10);
  if (errno || *end || v < lo || v > hi) return false;
  value = static_cast<int>(v);
  return true;
}

bool read_number(const std::string& text, double lo, double hi, double& value) {
  if (text.empty() || std::isspace(static_cast<unsigned char>(text[0])))
    return false;
  char* end = nullptr;
  double v = std::strtod(text.c_str(), &end);
  if (*end || !(v >= lo && v <= hi)) return false;
  value = v;
  return true;
}

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

/// Reads one option's value into `o`; throws MapError when it is refused.
void take_value(int code, const std::string& value, MapOptions& o) {
  switch (code) {
    case 'o':
      o.output = value;
      break;
    case kSize: {
      const auto x = value.find('x');
      if (x == std::string::npos ||
          !read_int(value.substr(0, x), 100, 20000, o.draw.width_px) ||
          !read_int(value.substr(x + 1), 100, 20000, o.draw.height_px))
        throw MapError("--size: expected WIDTHxHEIGHT in pixels, 100 to "
                       "20000 each, not \"" + value + "\"");
      break;
    }
    case kDpi:
      if (!read_int(value, 30, 2400, o.draw.dpi))
        throw MapError("--dpi: expected a whole number from 30 to 2400, not \"" +
                       value + "\"");
      break;
    case kTruth: {
      const auto comma = value.find(',');
      LonLat p;
      if (comma == std::string::npos ||
          !read_number(value.substr(0, comma), -90, 90, p.lat) ||
          !read_number(value.substr(comma + 1), -180, 360, p.lon))
        throw MapError("--truth: expected LATITUDE,LONGITUDE in degrees, not \"" +
                       value + "\"");
      if (p.lon > 180) p.lon -= 360;
      o.draw.truth = p;
      break;
    }
    case kGmt:
      o.draw.gmt = value;
      break;
  }
}

/// The command line; throws MapError when it is refused.
MapOptions parse_options(const std::vector<std::string>& args) {
  MapOptions o;
  std::vector<std::string> storage{"vestra-map"};
  storage.insert(storage.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& a : storage) argv.push_back(a.data());
  argv.push_back(nullptr);
  const int argc = static_cast<int>(storage.size());
  optind = 0;
  opterr = 0;
  for (int c; (c = getopt_long(argc, argv.data(), ":o:h", kOptions, nullptr)) != -1;) {
    if (c == 'h') o.help = true;
    else if (c == kVersion) o.version = true;
    else if (c == ':') throw MapError(storage[optind - 1] + " needs a value");
    else if (c == '?')
      throw MapError("unknown option " + storage[optind - 1] +
                     " (see vestra-map --help)");
    else take_value(c, optarg ? optarg : "", o);
  }
  if (o.help || o.version) return o;
  if (o.output.empty())
    throw MapError("no output file: give -o FILE.png or -o FILE.pdf");
  const std::string ext = lower(fs::path(o.output).extension().string());
  if (ext != ".png" && ext != ".pdf")
    throw MapError("-o " + o.output + ": the name must end in .png or .pdf");
  o.draw.pdf = ext == ".pdf";
  if (argc - optind > 1) throw MapError("more than one input file");
  if (optind < argc) o.input = storage[optind];
  return o;
}

std::string read_input(const std::string& file, std::istream& in) {
  std::ostringstream text;
  if (file == "-") {
    text << in.rdbuf();
    if (in.bad()) throw MapError("cannot read standard input");
    return text.str();
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw MapError(std::strerror(errno));
  if (fs::is_directory(file)) throw MapError("is a directory");
  text << stream.rdbuf();
  return text.str();
}

/// The events of the input and the file of each; throws MapError.
std::vector<MapEvent> read_events(const MapOptions& o, std::istream& in,
                                  std::vector<std::string>& names) {
  std::vector<MapEvent> events;
  try {
    events = read_geojson(read_input(o.input, in));
  } catch (const std::exception& e) {
    throw MapError((o.input == "-" ? "standard input" : o.input) + ": " +
                   e.what());
  }
  std::set<std::string> seen;
  for (std::size_t i = 0; i < events.size(); ++i) {
    names.push_back(output_name(o.output, events[i], i + 1, events.size()));
    if (!seen.insert(names.back()).second)
      throw MapError("two events would be drawn into " + names.back() +
                     "; use %n in the -o name");
  }
  return events;
}

/// Draws each event in a directory of its own; a failed event is reported
/// and the others are still drawn. Returns the exit status.
int draw_all(const std::vector<MapEvent>& events,
             const std::vector<std::string>& names, const DrawOptions& draw,
             std::ostream& err) {
  int status = 0;
  try {
    SignalGuard guard;
    TempDir temp;
    for (std::size_t i = 0; i < events.size(); ++i) {
      const fs::path dir = temp.path() / ("event" + std::to_string(i + 1));
      try {
        fs::create_directory(dir);
        install_picture(draw_event(events[i], draw, dir, i + 1), names[i]);
      } catch (const MapError& e) {
        err << "vestra-map: event \"" << events[i].name << "\": " << e.what()
            << "\n";
        status = 1;
      }
    }
    SignalGuard::check();
  } catch (const Interrupted& i) {
    return die_by(i.signal);
  } catch (const std::exception& e) {
    err << "vestra-map: " << e.what() << "\n";
    return 1;
  }
  return status;
}

}  // namespace

int map_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err) {
  MapOptions o;
  std::vector<MapEvent> events;
  std::vector<std::string> names;
  try {
    o = parse_options(args);
    if (o.help) out << kUsage;
    if (o.version) out << "vestra-map (" << shortVersion << ")\n";
    if (o.help || o.version) {
      out.flush();
      if (out) return 0;
      throw MapError("cannot write the output");
    }
    events = read_events(o, in, names);
  } catch (const MapError& e) {
    err << "vestra-map: " << e.what() << "\n";
    return 1;
  }
  return draw_all(events, names, o.draw, err);
}

}  // namespace vestra::map
