// Front end: start-up, the option loop, the pair loop with its checked
// search over perturbed bearings, and the help text.

#include "vestra.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>

#include "GFC.h"
#include "cli/command_line.h"
#include "class_vestra.h"
#include "distance.h"
#include "lib/logfile.h"
#include "norsar/baz_cross.h"
#include "output.h"
#include "trace.h"
#include "version.h"

int debug = 0;
int do_log = 1;
int show_allstations = 0;
int use_norsar = 0;
double acceptable_deviation = 45.0;
double default_sbaz = 0.1;
double sonic = 330.0;
std::vector<Station> new_stations;
location_method calculate_location = calculate_location_original;

namespace {

// Codes of the long-only options; the catalog options follow from 273 on.
constexpr int OPT_XXX_LONG = 256;
constexpr int OPT_XXX_LAT = 257;
constexpr int OPT_XXX_NAME = 258;
constexpr int OPT_DISPLAY = 259;
constexpr int OPT_FLERS = 260;
constexpr int OPT_ELLIPSOID = 261;
constexpr int OPT_SBAZ = 262;
constexpr int OPT_SPACE = 263;
constexpr int OPT_DBN = 264;
constexpr int OPT_HAMAR = 265;
constexpr int OPT_AALBORG = 266;
constexpr int OPT_KLOKKERHOLM = 267;
constexpr int OPT_NEW_STATION = 268;
constexpr int OPT_NORMAL = 269;
constexpr int OPT_CLEAN = 270;
constexpr int OPT_GPS = 271;
constexpr int OPT_JSON = 272;
constexpr int OPT_CATALOG_BASE = 272;  // catalog option code = base + station id

}  // namespace

void (*vestra_exit_handler)(int) = std::exit;

void vestra_exit(int status) {
  vestra_exit_handler(status);
  std::abort();  // a handler must not return
}

void reset_settings() {
  debug = 0;
  do_log = 1;
  show_allstations = 0;
  use_norsar = 0;
  acceptable_deviation = 45.0;
  default_sbaz = 0.1;
  new_stations.clear();
  calculate_location = calculate_location_original;
  ellipsoid = CEarth::WGS_84;
  earth.SetEllipsoid(CEarth::WGS_84);
}

constexpr option long_options[fixed_option_count + station_count + 1] = {
    {"kiruna", required_argument, nullptr, 'k'},
    {"k2", required_argument, nullptr, 'K'},
    {"kiruna2", required_argument, nullptr, 'K'},
    {"jamton", required_argument, nullptr, 'j'},
    {"lulea", required_argument, nullptr, 'j'},
    {"jamton2", required_argument, nullptr, 'J'},
    {"j2", required_argument, nullptr, 'J'},
    {"lycksele", required_argument, nullptr, 'l'},
    {"l2", required_argument, nullptr, 'L'},
    {"lycksele2", required_argument, nullptr, 'L'},
    {"uppsala", required_argument, nullptr, 'u'},
    {"bern", required_argument, nullptr, 'b'},
    {"anzere", required_argument, nullptr, 'a'},
    {"witzwil", required_argument, nullptr, 'w'},
    {"freyung", required_argument, nullptr, 'f'},
    {"flers", required_argument, nullptr, OPT_FLERS},
    {"karasjok", required_argument, nullptr, 'e'},
    {"sodankyla", required_argument, nullptr, 's'},
    {"dbn", required_argument, nullptr, OPT_DBN},
    {"debilt", required_argument, nullptr, OPT_DBN},
    {"hamar", required_argument, nullptr, OPT_HAMAR},
    {"aalborg", required_argument, nullptr, OPT_AALBORG},
    {"klokkerholm", required_argument, nullptr, OPT_KLOKKERHOLM},
    {"xxx", required_argument, nullptr, 'x'},
    {"xxx-long", required_argument, nullptr, OPT_XXX_LONG},
    {"xxx-lat", required_argument, nullptr, OPT_XXX_LAT},
    {"xxx-name", required_argument, nullptr, OPT_XXX_NAME},
    {"new-station", required_argument, nullptr, OPT_NEW_STATION},
    {"display", no_argument, nullptr, OPT_DISPLAY},
    {"ellipsoid", required_argument, nullptr, OPT_ELLIPSOID},
    {"sbaz", required_argument, nullptr, OPT_SBAZ},
    {"angle", required_argument, nullptr, 'v'},
    {"space", no_argument, nullptr, OPT_SPACE},
    {"clean", no_argument, nullptr, OPT_CLEAN},
    {"gps", no_argument, nullptr, OPT_GPS},
    {"json", no_argument, nullptr, OPT_JSON},
    {"normal", no_argument, nullptr, OPT_NORMAL},
    {"debug", no_argument, &debug, 1},
    {"no-log", no_argument, &do_log, 0},
    {"all", no_argument, &show_allstations, 1},
    {"norsar", no_argument, &use_norsar, 1},
    {"original", no_argument, &use_norsar, 0},
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) \
  {#Key, required_argument, nullptr, OPT_CATALOG_BASE + static_cast<int>(ENUM)},
#include "stations.def"
    {nullptr, 0, nullptr, 0},
};

const char short_options[] = "A:B:CE:F:J:K:L:S:U:V:W:X:a:b:ce:f:j:k:l:s:u:v:w:x:";

// ------------------------------------------------------------ program name

std::string program_name(gsl::span<char*> args) {
  if (args.empty()) {
    std::cerr << "Error: no program name in the argument vector\n";
    vestra_exit(1);
  }
  std::string progname = args[0] ? args[0] : "";
  for (char& c : progname)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  auto slash = progname.find_last_of("/\\");
  if (slash != std::string::npos) progname.erase(0, slash + 1);
  auto dot = progname.find_last_of('.');
  if (dot != std::string::npos) progname.erase(dot);
  return progname;
}

void rot13(std::string& s) {
  for (char& c : s) {
    if ((c >= 'a' && c <= 'm') || (c >= 'A' && c <= 'M'))
      c = static_cast<char>(c + 13);
    else if ((c >= 'n' && c <= 'z') || (c >= 'N' && c <= 'Z'))
      c = static_cast<char>(c - 13);
  }
}

bool norsar(const std::string& progname) {
  // The program names under which the back-azimuth method is the default,
  // stored rotated: vestra-norsar, vestra-back-azimuths, vnorsar and
  // vestra-baz-loc.
  static const char* const names[] = {"irfgen-abefne", "irfgen-onpx-nmvzhguf",
                                      "iabefne", "irfgen-onm-ybp"};
  std::string rotated = progname;
  rot13(rotated);
  for (const char* name : names)
    if (rotated == name) return true;
  return false;
}

// ------------------------------------------------------------ number reading

namespace {

[[noreturn]] void refuse_number(const std::string& what,
                                const std::string& text, const char* why) {
  std::cerr << "Error: " << what << ": " << cli::quote(text) << " " << why
            << "\n";
  vestra_exit(1);
}

}  // namespace

// Numbers on the command line.
//
// Station azimuths (catalog options, the short station letters, -x) and the
// ":sd" after them, --angle, --sbaz, --xxx-lat and --xxx-long are read as
// the C library's strtod reads them: leading white space skipped, the
// longest numeric prefix taken, the rest ignored.
//
//   value                         result
//   "120", " 120", "+120"         120
//   "120abc", "120deg", "120 x"   120 (trailing text ignored)
//   "1.5e2", "0x10", "0x1p4"      150, 16, 16 (exponents, hexadecimal)
//   "1e-999", "-1e-999"           accepted: the nearest double (0, -0 or tiny)
//   "0x", "0x:3"                  0 (the "x" is trailing text)
//   "", "   ", "abc", ":3", "."   refused: is not a number
//   "1e999", "-1e999", "0x1p9999" refused: is out of range
//   "inf", "-inf", "nan", "infinity", "nan(1)"
//                                 refused: is not a finite number
//
// A station value is "azimuth[:sd]": the azimuth is the numeric prefix and
// the first ":" after it starts the standard deviation, read the same way
// (so "111:3:4" is 111 with 3, "111abc:3" is 111 with 3, and "111:" and
// "111::3" are refused as an sd that is not a number). Without a ":" the
// --sbaz value in force at that point is taken.
//
// --xxx-lat and --xxx-long must then lie within [-90, 90] and [-180, 180];
// a value outside is echoed whole, as typed, in the range message.
//
// --ellipsoid is read as strtol reads a decimal integer: white space and a
// sign allowed, the rest ignored ("12.9" and "12x" are 12, "1e1" is 1, "0x19"
// is 0). No digits ("", "  ", "inf", "x1") is refused here as not a number;
// a number that does not fit a long is refused as an invalid ellipsoid by
// the caller, as is any number outside 1..25.
//
// Messages name the option (or "azimuth for" / "standard deviation for" and
// the station) and quote the value, cut after 64 bytes with its length
// added, so that a huge argument cannot flood the error stream.
//
// The fields of --new-station (name:latitude:longitude:azimuth[:sd]) are read
// with stream extraction instead and refused with their own messages (see
// new_station). Each numeric field is read from the text after the previous
// ":" (white space skipped), the rest of the field up to the next ":"
// ignored:
//
//   field                          latitude, longitude, azimuth    sd
//   "60", " 60", "60deg", "60 x"   60                              60
//   "0x10"                         0 ("x10" is ignored)            0
//   "1e-999"                       0                               0
//   "", " " (field present)        refused: "No latitude" etc.     default
//   field missing                  refused: "No latitude" etc.     default
//   "abc", "inf", "nan"            refused: "No latitude" etc.     0
//   "60e", "60east" (no exponent)  refused: "No latitude" etc.     0
//   "1e999"                        refused: "No latitude" etc.     1.79769e+308
//
// where "default" is the --sbaz value in force and 1.79769e+308 the largest
// double. The name is everything before the first ":", possibly empty
// ("--new-station=:1:2:3" is accepted with an empty name;
// "--new-station=A::1:2:3" is refused for its empty latitude).
double read_double(const std::string& text, const std::string& what,
                   std::size_t* consumed) {
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  double value = std::strtod(begin, &end);
  if (end == begin) refuse_number(what, text, "is not a number");
  if (!std::isfinite(value)) {
    if (errno == ERANGE) refuse_number(what, text, "is out of range");
    refuse_number(what, text, "is not a finite number");
  }
  if (consumed) *consumed = static_cast<std::size_t>(end - begin);
  return value;
}

long read_long(const std::string& text, const std::string& what,
               bool* overflow) {
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  long value = std::strtol(begin, &end, 10);
  if (end == begin) refuse_number(what, text, "is not a number");
  *overflow = errno == ERANGE;
  return value;
}

// ------------------------------------------------------------ sources

void get_station_azimuth(const std::string& station,
                         const std::string& argument) {
  double sbaz = default_sbaz;
  std::size_t pos = 0;
  double baz = read_double(argument, "azimuth for " + station, &pos);
  auto colon = argument.find(':', pos);
  if (colon != std::string::npos)
    sbaz = read_double(argument.substr(colon + 1),
                       "standard deviation for " + station);
  new_stations.push_back(create_station(station, epoch, baz, baz, sbaz));
}

void new_station(const std::string& value) {
  static const char* const use =
      "Use: --new-station=name:latitude:longitude:azimuth\n";
  constexpr auto all = std::numeric_limits<std::streamsize>::max();
  std::istringstream is(value);
  std::string nst_name;
  double nst_lat = 0.0, nst_long = 0.0, nst_baz = 0.0;
  std::getline(is, nst_name, ':');
  is >> nst_lat;
  if (is.fail()) {
    std::cerr << "Error: No latitude\n" << use;
    vestra_exit(1);
  }
  is.ignore(all, ':');
  is >> nst_long;
  if (is.fail()) {
    std::cerr << "Error: No longitude\n" << use;
    vestra_exit(1);
  }
  is.ignore(all, ':');
  is >> nst_baz;
  if (is.fail()) {
    std::cerr << "Error: No azimuth\n" << use;
    vestra_exit(1);
  }
  // The standard deviation is optional: without a fifth field the default
  // stays; a field that is no number reads as 0.
  double nst_sbaz = default_sbaz;
  is.ignore(all, ':');
  is >> nst_sbaz;
  DEBUG_TRACE(nst_name << " " << nst_lat << " " << nst_long << " " << nst_baz
                       << "\n");
  Station nst = create_station("Default", epoch, 0.0, 0.0, 0.0);
  nst.set_name(nst_name);
  nst.set_latitude(nst_lat);
  nst.set_longitude(nst_long);
  nst.baz = nst_baz;
  nst.baz_original = nst_baz;
  nst.sbaz = nst_sbaz;
  new_stations.push_back(std::move(nst));
}

// ------------------------------------------------------------ xxx options

void deprecated_xxx() {
  std::cerr << "XXX is deprecated. Please use "
               "--new-station=name:lat:long:az instead\n";
}

bool is_xxx(const Station& st) { return st.get_name() == "XXX"; }

bool validate(double val, double min, double max) {
  return min <= val && val <= max;
}

namespace {

// The first source named "XXX"; refuses the run when there is none.
Station& find_xxx() {
  for (Station& st : new_stations)
    if (is_xxx(st)) return st;
  std::cerr << "You need to specify station -x first\n";
  vestra_exit(1);
}

// --xxx-lat and --xxx-long: a value within [min, max] for the XXX source.
double xxx_coordinate(const char* option, const std::string& value,
                      double min, double max, const char* min_text,
                      const char* max_text) {
  double d = read_double(value, option);
  if (!validate(d, min, max)) {
    // The value is echoed as typed, however long.
    std::cerr << value << " out of range (" << min_text << " <= " << value
              << " <= " << max_text << ")\n";
    vestra_exit(1);
  }
  return d;
}

}  // namespace

// ------------------------------------------------------------ help text

void usage(const char* arg) {
  std::string executable = arg ? arg : "";
  auto slash = executable.find_last_of("\\/");
  if (slash != std::string::npos) executable.erase(0, slash + 1);
  auto dot = executable.find_last_of('.');
  if (dot != std::string::npos) executable.erase(dot);

  std::ostream& o = std::cout;
  o << Version << "\nUsage:\n    " << executable
    << " --station1=azimuth1 --station2=azimuth2\nor\n    " << executable;
  o << " -x azimuth1 -y azimuth2\n"
       "\n"
       "where station1, station2, x and y is one of the following:\n"
       " -k, --kiruna=az              \n"
       " -K, --kiruna1=az             \n"
       " -j, --jamton=az, --lulea=az  \n"
       " -J, --jamton2=az             \n"
       " -l, --lycksele=az            \n"
       " -L, --lycksele2=az           \n"
       " -u, --uppsala=az             \n"
       " -b, --bern=az                \n"
       " -a, --anzere=az              \n"
       " -w, --witzwil=az             \n"
       " -f, --freyung=az             \n"
       "     --flers=az               \n"
       " -e, --karasjok=az            \n"
       " -s, --sodankyla=az           \n"
       "     --debilt=az              \n"
       "     --hamar=az               \n"
       "     --aalborg=az             \n"
       "     --klokkerholm=az         \n"
       " -x, --xxx=az                 \n";
  if (show_allstations) {
    for (const auto& [id, key] : enum2name)
      if (id != UNKNOWN) o << "     --" << key << "=az\n";
  }
  o << "\n     --new-station=name:latitude:longitude:az\n"
       "                             Add a nonstandard location\n\n"
       "     --ellipsoid=#           Sets the ellipsoid describing earth.\n";

  gsl::span<const char* const> names(CEarth::_EllipsoidName);
  for (int i = CEarth::Perfect_Sphere; i <= CEarth::WGS_84; ++i) {
    std::ostringstream entry;
    entry << (i == CEarth::WGS_84 ? "*" : " ") << std::setw(2) << i << " = "
          << names[static_cast<std::size_t>(i)]
          << (i == CEarth::WGS_84 ? " (Default)" : "");
    if (i % 2 == 1)
      o << "          " << std::left << std::setw(36) << entry.str()
        << std::right;
    else
      o << " " << std::left << std::setw(36) << entry.str() << std::right
        << "\n";
  }
  o << "\n"
       "\n"
       "     --display               list all station data\n"
       " -c, --clean                 outputs lat, long, time to station 1 & \n"
       "                             time to station 2 (time in seconds)\n"
       "     --gps                   Output suitable for gps, ie:\n"
       "                             \"N20 23.550 E34 56.123\"\n"
       "\n"
       "and azimuth[12] and az are the direction of sound in degrees.\n"
       "Will calculate the probable crosspoint of the two azimuths.\n";
  o << "\n" << Version << "\n" << Copyright << "\n" << Bugs << "\n";
}

// ------------------------------------------------------------ checked search

namespace {

// Bearing offsets of the search, degrees: 0, then +k/10 and -k/10 for
// k = 1..19, each the double nearest its decimal value.
constexpr std::array<double, 39> dist = {
    0.0, 0.1, -0.1, 0.2, -0.2, 0.3, -0.3, 0.4, -0.4, 0.5, -0.5,
    0.6, -0.6, 0.7, -0.7, 0.8, -0.8, 0.9, -0.9, 1.0, -1.0,
    1.1, -1.1, 1.2, -1.2, 1.3, -1.3, 1.4, -1.4, 1.5, -1.5,
    1.6, -1.6, 1.7, -1.7, 1.8, -1.8, 1.9, -1.9};

bool same_station(const Station& s1, const Station& s2) {
  return s1.get_name() == s2.get_name() &&
         s1.get_latitude() == s2.get_latitude() &&
         s1.get_longitude() == s2.get_longitude();
}

}  // namespace

double fuzz_offset(std::size_t index) { return dist.at(index); }

bool test_angle_fuzz(std::size_t start, std::size_t stop, Station& s1,
                     Station& s2, Station& loc, bool& flag1, bool& flag2,
                     bool* located) {
  if (same_station(s1, s2)) {
    flag1 = flag2 = false;
    return true;
  }
  for (std::size_t ii = start; ii < stop; ++ii) {
    s1.baz = s1.baz_original + fuzz_offset(ii);
    for (std::size_t jj = start; jj < stop; ++jj) {
      s2.baz = s2.baz_original + fuzz_offset(jj);
      if (calculate_location(s1, s2, loc) != 0) {
        DEBUG_TRACE("Got error. Need to retry with new fuzz\n");
        continue;
      }
      if (located) *located = true;
      // A crossing more than a quarter circle away is refused for good.
      if (angular_distance_deg(s1, loc) > 90.0 ||
          angular_distance_deg(s2, loc) > 90.0) {
        flag1 = flag2 = false;
        return true;
      }
      if (check_az(s1, s2, loc, flag1, flag2)) break;
    }
    if (flag1 && flag2) return true;
  }
  return flag1 && flag2;
}

namespace {

// Whether the heading from a station to the location agrees with the
// station's bearing within the tolerance; the difference is folded once
// into [0, 180]. A NaN difference disagrees.
bool agrees(double baz, double heading, double& d) {
  d = std::fabs(baz - heading);
  if (d > 180) d = 360 - d;
  return acceptable_deviation >= d;
}

}  // namespace

bool check_az(Station& s1, Station& s2, Station& loc, bool& flag1,
              bool& flag2) {
  std::unique_ptr<distance> dist1(calculate_distance(s1, loc));
  std::unique_ptr<distance> dist2(calculate_distance(s2, loc));
  double d = 0.0;
  flag1 = agrees(s1.baz, dist1->heading_from_here_to_there, d);
  if (!flag1)
    DEBUG_TRACE("Angle not to be trusted a1=" << s1.baz << " "
                << dist1->heading_from_here_to_there << " " << d << "\n");
  flag2 = agrees(s2.baz, dist2->heading_from_here_to_there, d);
  if (!flag2)
    DEBUG_TRACE("Angle not to be trusted a2=" << s2.baz << " "
                << dist2->heading_from_here_to_there << " " << d << "\n");
  return flag1 && flag2;
}

// ------------------------------------------------------------ the run

namespace {

// Station listing: every catalog entry in identifier order, then exit 0.
[[noreturn]] void display_stations() {
  for (const auto& entry : enum2name) {
    Station s = create_station(entry.second, epoch, 0.0, 0.0, 0.0);
    s.set_output(Station::OUTPUT_DMS_LONG_LAT, ",");
    std::cout << s << std::endl;
  }
  vestra_exit(0);
}

// The catalog key for the source options that are not catalog options.
const char* source_of(int code) {
  switch (code) {
    case 'k': return "Kiruna";
    case 'K': return "Kiruna2";
    case 'j': return "Lulea";
    case 'J': return "Lulea2";
    case 'l': return "Lycksele";
    case 'L': return "Lycksele2";
    case 'u': return "Uppsala";
    case 'b': return "Bern";
    case 'a': return "Anzere";
    case 'w': return "Witzwil";
    case 'f': return "Freyung";
    case OPT_FLERS: return "Flers";
    case 'e': return "Karasjok";
    case 's': return "Sodankyla";
    case OPT_DBN: return "DBN";
    case OPT_HAMAR: return "Hamar";
    case OPT_AALBORG: return "Aalborg";
    case OPT_KLOKKERHOLM: return "Klokkerholm";
    default: return nullptr;
  }
}

// Reads the options into the sources and the process-wide settings.
void read_options(int argc, char** argv, std::string& separator,
                  std::unique_ptr<output_base>& output) {
  optind = 0;  // a full start of the option reader
  int option_index = 0;
  int cc;
  while ((cc = getopt_long(argc, argv, short_options, long_options,
                           &option_index)) != -1) {
    const std::string value = optarg ? optarg : "";
    if (cc == 0) continue;  // a flag option, stored by getopt_long
    if (const char* station = source_of(cc)) {
      get_station_azimuth(station, value);
      continue;
    }
    if (cc > OPT_CATALOG_BASE && cc <= OPT_CATALOG_BASE + static_cast<int>(LAST)) {
      get_station_azimuth(enum2name.at(cc - OPT_CATALOG_BASE), value);
      continue;
    }
    switch (cc) {
      case OPT_NEW_STATION:
        new_station(value);
        break;
      case 'v':
        acceptable_deviation = read_double(value, "--angle");
        break;
      case OPT_SBAZ:
        default_sbaz = read_double(value, "--sbaz");
        break;
      case OPT_ELLIPSOID: {
        bool overflow = false;
        long id = read_long(value, "--ellipsoid", &overflow);
        if (overflow || id < CEarth::Perfect_Sphere || id > CEarth::WGS_84) {
          std::cerr << "Error: invalid ellipsoid\n";
          vestra_exit(1);
        }
        ellipsoid = static_cast<CEarth::_EllipsoidType>(id);
        break;
      }
      case OPT_SPACE:
        separator = " ";
        break;
      case 'c':
      case OPT_CLEAN:
        output.reset(new output_clean(std::cout, separator));
        break;
      case OPT_GPS:
        output.reset(new output_gps(std::cout, separator));
        break;
      case OPT_JSON:
        output.reset(new output_json(std::cout, separator));
        break;
      case OPT_NORMAL:
        output.reset(new output_normal(std::cout, separator));
        break;
      case OPT_DISPLAY:
        display_stations();
      case 'x':
        deprecated_xxx();
        get_station_azimuth("XXX", value);
        break;
      case OPT_XXX_LONG: {
        deprecated_xxx();
        double d = xxx_coordinate("--xxx-long", value, -180.0, 180.0,
                                  "-180.", "180.");
        find_xxx().set_longitude(d);
        break;
      }
      case OPT_XXX_LAT: {
        deprecated_xxx();
        double d = xxx_coordinate("--xxx-lat", value, -90.0, 90.0, "-90.",
                                  "90.");
        find_xxx().set_latitude(d);
        break;
      }
      case OPT_XXX_NAME:
        deprecated_xxx();
        find_xxx().set_name(value);
        break;
      default:
        usage(argv[0]);
        std::cerr << "?? getopt returned character code " << cc << " ??\n";
        vestra_exit(1);
    }
  }
}

}  // namespace

void cross_pairs(output_base& output) {
  // The verdicts are set false once for the run and then changed only by the
  // search: a pair whose every trial fails leaves them, and so the range
  // carried into the next pair, as the pair before it left them.
  bool flag1 = false, flag2 = false;
  Station loc = create_station("Default", epoch, 0.0, 0.0, 0.0);

  std::size_t start = 0, stop = 11;
  for (std::size_t i = 0; i < new_stations.size(); ++i) {
    DEBUG_TRACE("\n");
    for (std::size_t j = i + 1; j < new_stations.size(); ++j) {
      Station& p1 = new_stations[i];
      Station& p2 = new_stations[j];
      DEBUG_TRACE("Pitting " << p1.get_name() << " against " << p2.get_name()
                             << "\n");
      // A pair none of whose trials produced a location is reported as not
      // located, never with the verdicts left by the pair before it.
      bool located = false;
      if (!test_angle_fuzz(start, stop, p1, p2, loc, flag1, flag2, &located)) {
        DEBUG_TRACE("Doing extended search\n");
        if (test_angle_fuzz(11, 21, p1, p2, loc, flag1, flag2, &located)) {
          start = 11;
          stop = 21;
        } else {
          DEBUG_TRACE("Doing realy extended search\n");
          test_angle_fuzz(21, 39, p1, p2, loc, flag1, flag2, &located);
          start = 21;
          stop = 39;
        }
      }
      const bool confirmed = located && flag1 && flag2;
      if (!debug) {
        if (confirmed)
          output.valid(loc, p1, p2);
        else
          output.invalid(loc, p1, p2);
      } else if (confirmed) {
        std::cout << "kelvo project=round lat=64.61 long=18.71 dist=200. "
                     "inch=9000. mapin=lyki2.gif mapout=lyki2.gif ";
        p1.set_output(Station::OUTPUT_LONG_LAT, ",");
        p2.set_output(Station::OUTPUT_LONG_LAT, ",");
        loc.set_output(Station::OUTPUT_LONG_LAT, ",");
        std::cout << "arc=" << p1 << "," << loc << " "
                  << "arc=" << p2 << "," << loc << "\n";
      }
    }
  }
}

int vestra_main(int argc, char** argv) {
  gsl::span<char*> args(argv, static_cast<std::size_t>(argc < 0 ? 0 : argc));
  const std::string progname = program_name(args);

  std::string separator = "\n";
  std::unique_ptr<output_base> output(new output_normal(std::cout, separator));
  use_norsar = norsar(progname);

  read_options(argc, argv, separator, output);

  if (new_stations.size() < 2) {
    usage(args[0]);
    if (new_stations.size() == 1)
      std::cerr << "\nError: Can't calculate location with less than 2 "
                   "sources\n\n";
    vestra_exit(1);
  }

  calculate_location =
      use_norsar ? calculate_location_norsar : calculate_location_original;
  if (do_log) logfile(argc, argv);

  earth.SetEllipsoid(ellipsoid);
  if (ellipsoid != CEarth::WGS_84)
    std::cerr << "Using ellipsoid " << earth.GetEllipsoidName() << "\n";

  output->prolog();
  cross_pairs(*output);
  output->epilog();
  if (separator == " ") std::cout << "\n";
  return 0;
}

// The option table: exactly fixed_option_count entries come before the
// first catalog option.
static_assert(long_options[fixed_option_count].val ==
              OPT_CATALOG_BASE + static_cast<int>(FIRST));
static_assert(long_options[fixed_option_count - 1].val < OPT_CATALOG_BASE);
