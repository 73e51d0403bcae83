#include "map/map_main.h"

#include <getopt.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>

#include "map/geojson_reader.h"
#include "map/gmt_map.h"
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

/// Removes the run's temporary directory, however the run ends.
struct TempDir {
  fs::path path;
  TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern =
        std::string(base && *base ? base : "/tmp") + "/vestra-map.XXXXXX";
    if (!mkdtemp(pattern.data()))
      throw MapError("cannot make a temporary directory in " +
                     fs::path(pattern).parent_path().string() + ": " +
                     std::strerror(errno));
    path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
};

/// Puts `picture` at `target` in one step: a copy beside the target, then
/// a rename, so that no half-written file ever carries the target's name.
void install(const fs::path& picture, const fs::path& target) {
  fs::path dir = target.parent_path();
  fs::path part = (dir.empty() ? fs::path(".") : dir) /
                  ("." + target.filename().string() + ".part" +
                   std::to_string(getpid()));
  std::error_code ec;
  fs::copy_file(picture, part, fs::copy_options::overwrite_existing, ec);
  if (!ec) fs::rename(part, target, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(part, ignored);
    throw MapError("cannot write " + target.string() + ": " + ec.message());
  }
}

std::string read_input(const std::string& file) {
  std::ostringstream text;
  if (file == "-") {
    text << std::cin.rdbuf();
    if (std::cin.bad()) throw MapError("cannot read standard input");
    return text.str();
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) throw MapError(std::strerror(errno));
  if (fs::is_directory(file)) throw MapError("is a directory");
  text << in.rdbuf();
  return text.str();
}

}  // namespace

std::string output_name(const std::string& pattern, const MapEvent& event,
                        std::size_t number, std::size_t count) {
  std::string p = pattern;
  if (p.find('%') == std::string::npos && count > 1) {
    const fs::path path(p);
    const std::string ext = path.extension().string();
    p = p.substr(0, p.size() - ext.size()) + "-%e" + ext;
  }
  std::string out;
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (p[i] != '%') {
      out += p[i];
      continue;
    }
    const char code = i + 1 < p.size() ? p[++i] : '\0';
    if (code == '%') {
      out += '%';
    } else if (code == 'n' || (code == 'e' && event.name.empty())) {
      out += std::to_string(number);
    } else if (code == 'e') {
      for (char c : event.name)
        out += std::isalnum(static_cast<unsigned char>(c)) || c == '.' ||
                       c == '-' || c == '_'
                   ? c
                   : '_';
    } else {
      throw MapError("-o: unknown %" + std::string(1, code) +
                     " (use %e, %n or %%)");
    }
  }
  return out;
}

int map_main(int argc, char** argv) {
  DrawOptions options;
  std::string output;
  optind = 1;
  opterr = 0;
  try {
    for (int c; (c = getopt_long(argc, argv, ":o:h", kOptions, nullptr)) != -1;) {
      const std::string value = optarg ? optarg : "";
      switch (c) {
        case 'o':
          output = value;
          break;
        case kSize: {
          auto x = value.find('x');
          if (x == std::string::npos ||
              !read_int(value.substr(0, x), 100, 20000, options.width_px) ||
              !read_int(value.substr(x + 1), 100, 20000, options.height_px))
            throw MapError("--size: expected WIDTHxHEIGHT in pixels, 100 to "
                           "20000 each, not \"" + value + "\"");
          break;
        }
        case kDpi:
          if (!read_int(value, 30, 2400, options.dpi))
            throw MapError("--dpi: expected a whole number from 30 to 2400, not \"" +
                           value + "\"");
          break;
        case kTruth: {
          auto comma = value.find(',');
          GeoPoint p;
          if (comma == std::string::npos ||
              !read_number(value.substr(0, comma), -90, 90, p.lat) ||
              !read_number(value.substr(comma + 1), -180, 360, p.lon))
            throw MapError("--truth: expected LATITUDE,LONGITUDE in degrees, not \"" +
                           value + "\"");
          if (p.lon > 180) p.lon -= 360;
          options.truth = p;
          break;
        }
        case kGmt:
          options.gmt = value;
          break;
        case 'h':
          std::cout << kUsage;
          return 0;
        case kVersion:
          std::cout << "vestra-map (" << shortVersion << ")\n";
          return 0;
        case ':':
          throw MapError(std::string(argv[optind - 1]) + " needs a value");
        default:
          throw MapError("unknown option " + std::string(argv[optind - 1]) +
                         " (see vestra-map --help)");
      }
    }
    if (output.empty()) throw MapError("no output file: give -o FILE.png or -o FILE.pdf");
    const std::string ext = lower(fs::path(output).extension().string());
    if (ext != ".png" && ext != ".pdf")
      throw MapError("-o " + output + ": the name must end in .png or .pdf");
    options.pdf = ext == ".pdf";
    if (argc - optind > 1) throw MapError("more than one input file");
  } catch (const MapError& e) {
    std::cerr << "vestra-map: " << e.what() << "\n";
    return 1;
  }

  const std::string input = optind < argc ? argv[optind] : "-";
  const std::string input_name = input == "-" ? "standard input" : input;
  std::vector<MapEvent> events;
  std::vector<std::string> names;
  try {
    try {
      events = read_geojson(read_input(input));
    } catch (const std::exception& e) {
      throw MapError(input_name + ": " + e.what());
    }
    std::set<std::string> seen;
    for (std::size_t i = 0; i < events.size(); ++i) {
      names.push_back(output_name(output, events[i], i + 1, events.size()));
      if (!seen.insert(names.back()).second)
        throw MapError("two events would be drawn into " + names.back() +
                       "; use %n in the -o name");
    }
  } catch (const MapError& e) {
    std::cerr << "vestra-map: " << e.what() << "\n";
    return 1;
  }

  // Each event is drawn in its own directory; a failed event is reported
  // and the others are still drawn.
  int status = 0;
  try {
    TempDir temp;
    for (std::size_t i = 0; i < events.size(); ++i) {
      const fs::path dir = temp.path / ("event" + std::to_string(i + 1));
      try {
        fs::create_directory(dir);
        install(draw_event(events[i], options, dir, i + 1), names[i]);
      } catch (const MapError& e) {
        std::cerr << "vestra-map: event \"" << events[i].name << "\": "
                  << e.what() << "\n";
        status = 1;
      }
    }
  } catch (const std::exception& e) {
    std::cerr << "vestra-map: " << e.what() << "\n";
    return 1;
  }
  return status;
}

}  // namespace vestra::map
