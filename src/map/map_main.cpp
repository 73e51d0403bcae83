#include "map/map_main.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include "cli/command_line.h"
#include "map/geojson_reader.h"
#include "map/gmt_run.h"
#include "map/output_file.h"

namespace vestra::map {

namespace fs = std::filesystem;

namespace {

const char* const kProgram = "vestra-map";

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
    "      --version         the version\n"
    "\n"
    "Exit status: 0, or 1 after a refused command line or input, or when an\n"
    "event could not be drawn (the other events are still drawn).\n";

enum Code { kSize = cli::kFirstLongOnly, kDpi, kTruth, kGmt };

const option kOptions[] = {
    {"output", required_argument, nullptr, 'o'},
    {"size", required_argument, nullptr, kSize},
    {"dpi", required_argument, nullptr, kDpi},
    {"truth", required_argument, nullptr, kTruth},
    {"gmt", required_argument, nullptr, kGmt},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, cli::kVersion},
    {nullptr, 0, nullptr, 0}};

/// What the command line asks for.
struct MapOptions {
  DrawOptions draw;
  std::string output;       ///< the -o pattern
  std::string input = "-";  ///< the GeoJSON file; "-" for standard input
  bool help = false, version = false;
};

/// "W" "x" "H", each a whole number of pixels from 100 to 20000.
std::string read_size(const std::string& value, DrawOptions& draw) {
  const auto x = value.find('x');
  if (x == std::string::npos)
    return cli::quote(value) + " is not WIDTHxHEIGHT";
  long long w = 0, h = 0;
  std::string problem = cli::read_integer(value.substr(0, x), 100, 20000, w);
  if (problem.empty())
    problem = cli::read_integer(value.substr(x + 1), 100, 20000, h);
  if (!problem.empty()) return problem + " (WIDTHxHEIGHT in pixels)";
  draw.width_px = static_cast<int>(w);
  draw.height_px = static_cast<int>(h);
  return "";
}

/// "LAT,LON" in degrees; a longitude above 180 is taken west.
std::string read_truth(const std::string& value, DrawOptions& draw) {
  const auto comma = value.find(',');
  if (comma == std::string::npos)
    return cli::quote(value) + " is not LATITUDE,LONGITUDE";
  LonLat p;
  std::string problem =
      cli::read_number(value.substr(0, comma), {-90, 90}, p.lat);
  if (problem.empty())
    problem = cli::read_number(value.substr(comma + 1), {-180, 360}, p.lon);
  if (!problem.empty()) return problem + " (LATITUDE,LONGITUDE in degrees)";
  if (p.lon > 180) p.lon -= 360;
  draw.truth = p;
  return "";
}

/// Reads one option's value into `o`; "" or what is wrong with it.
std::string read_option(int code, const std::string& value, MapOptions& o) {
  switch (code) {
    case 'o':
      o.output = value;
      return "";
    case kSize:
      return read_size(value, o.draw);
    case kDpi: {
      long long dpi = 0;
      std::string problem = cli::read_integer(value, 30, 2400, dpi);
      if (problem.empty()) o.draw.dpi = static_cast<int>(dpi);
      return problem;
    }
    case kTruth:
      return read_truth(value, o.draw);
    case kGmt:
      o.draw.gmt = value;
      return "";
  }
  return "";
}

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

/// The command line into `o`; "" or why it is refused.
std::string parse_options(const std::vector<std::string>& args, MapOptions& o) {
  cli::OptionReader reader(kProgram, args, "ho:", kOptions);
  const std::string refused = cli::read_options(
      reader, o.help, o.version,
      [&](int code, const std::string& value) {
        return read_option(code, value, o);
      });
  if (!refused.empty() || o.help || o.version) return refused;
  if (o.output.empty()) return "no output file: give -o FILE.png or -o FILE.pdf";
  const std::string ext = lower(fs::path(o.output).extension().string());
  if (ext != ".png" && ext != ".pdf")
    return "-o: " + cli::quote(o.output) + " does not end in .png or .pdf";
  o.draw.pdf = ext == ".pdf";
  const auto& files = reader.operands();
  if (files.size() > 1)
    return "more than one input file: " + cli::quote(files[0]) + ", " +
           cli::quote(files[1]);
  if (!files.empty()) o.input = files[0];
  return "";
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
    throw MapError((o.input == "-" ? "<stdin>" : o.input) + ": " + e.what());
  }
  std::set<std::string> seen;
  for (std::size_t i = 0; i < events.size(); ++i) {
    names.push_back(output_name(o.output, events[i], i + 1, events.size()));
    if (!seen.insert(names.back()).second)
      throw MapError("two events would be drawn into " +
                     cli::quote(names.back()) + "; use %n in the -o name");
  }
  return events;
}

/// Draws each event in a directory of its own; a failed event is reported
/// and the others are still drawn.
void draw_all(const std::vector<MapEvent>& events,
              const std::vector<std::string>& names, const DrawOptions& draw,
              cli::Diagnostics& diagnostics) {
  SignalGuard guard;
  TempDir temp;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const fs::path dir = temp.path() / ("event" + std::to_string(i + 1));
    try {
      fs::create_directory(dir);
      install_picture(draw_event(events[i], draw, dir, i + 1), names[i]);
    } catch (const MapError& e) {
      diagnostics.error("event " + cli::quote(events[i].name), e.what());
    }
  }
  SignalGuard::check();
}

}  // namespace

int map_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err) {
  MapOptions o;
  const std::string refused = parse_options(args, o);
  if (!refused.empty()) return cli::refuse_command_line(kProgram, refused, err);
  cli::Diagnostics diagnostics(kProgram, err);
  if (o.help || o.version) {
    out << (o.help ? kUsage : cli::version_line(kProgram));
    return cli::finish_output(out, diagnostics) ? 0 : 1;
  }
  try {
    std::vector<std::string> names;
    const std::vector<MapEvent> events = read_events(o, in, names);
    draw_all(events, names, o.draw, diagnostics);
  } catch (const Interrupted& i) {
    return die_by(i.signal);
  } catch (const std::exception& e) {
    diagnostics.error(e.what());
  }
  return diagnostics.errors() ? 1 : 0;
}

}  // namespace vestra::map
