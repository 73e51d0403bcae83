// Station record, angle decomposition and the station text forms.

#include "class_location.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>

const char* we[3] = {"W", " ", "E"};
const char* sn[3] = {"S", " ", "N"};

namespace {

// Whole degrees (or minutes) of a non-negative angle, truncated toward zero.
// A value that no int can hold (NaN, infinities, |a| >= 2^31) gives INT_MIN,
// the result of the x86-64 truncating conversion, without its undefined
// behaviour in C++.
int truncate_to_int(double a) {
  if (!(a > -2147483649.0 && a < 2147483648.0)) return INT_MIN;
  return static_cast<int>(a);
}

// Restores the formatting a freshly constructed output string stream has
// (flags, width, precision, fill); the stream's tie and locale are left alone.
void restore_default_format(std::ostream& o) {
  static const std::ostringstream fresh;
  o.flags(fresh.flags());
  o.width(fresh.width());
  o.precision(fresh.precision());
  o.fill(fresh.fill());
}

}  // namespace

void latlong::to_dm(int& sign, int& d, double& m) const {
  double a = std::fabs(deg);
  d = truncate_to_int(a);
  m = (a - d) * 60.0;
  sign = deg < 0 ? -1 : 1;
}

void latlong::to_dms(int& sign, int& d, int& m, double& s) const {
  double a = std::fabs(deg);
  d = truncate_to_int(a);
  double mf = (a - d) * 60.0;
  m = truncate_to_int(mf);
  s = (mf - m) * 60.0;
  sign = deg < 0 ? -1 : 1;
}

std::ostream& latlong::dm_out(std::ostream& o) const {
  int sign, d;
  double m;
  to_dm(sign, d, m);
  o << std::right << label[sign + 1] << d << " " << std::fixed
    << std::setprecision(3) << m;
  restore_default_format(o);
  return o;
}

std::ostream& latlong::dms_out(std::ostream& o) const {
  int sign, d, m;
  double s;
  to_dms(sign, d, m, s);
  o << std::right << label[sign + 1] << std::setw(3) << std::setfill('0') << d
    << " " << std::setw(2) << m;
  o.fill(' ');
  o << " " << std::fixed << std::setprecision(3) << std::setw(6) << s;
  restore_default_format(o);
  return o;
}

Station::Station(const std::string& name_, const std::string& ul_,
                 const std::string& mic_, double lat_, double lon,
                 basetime_t basetime_, double baz_, double baz_original_,
                 double sbaz_)
    : name(name_ + ul_ + mic_),
      lat(lat_),
      lng(lon),
      output_type(OUTPUT_LAT_LONG),
      separator("\n"),
      basetime(basetime_),
      baz(baz_),
      baz_original(baz_original_),
      sbaz(sbaz_) {}

Station::output_types Station::set_output(output_types ot, const char* sep) {
  output_types before = output_type;
  output_type = ot;
  separator = sep;
  return before;
}

std::ostream& Station::dms_out(std::ostream& o, const char* separator_,
                               bool lat_before_lng) {
  if (lat_before_lng) {
    lat.dms_out(o) << separator_;
    return lng.dms_out(o);
  }
  lng.dms_out(o) << separator_;
  return lat.dms_out(o);
}

std::ostream& Station::dm_out(std::ostream& o, const char* separator_,
                              bool lat_before_lng) {
  if (lat_before_lng) {
    lat.dm_out(o) << separator_;
    return lng.dm_out(o);
  }
  lng.dm_out(o) << separator_;
  return lat.dm_out(o);
}

std::ostream& output_lat_long(std::ostream& o, Station& s) {
  return o << s.get_latitude() << s.separator << s.get_longitude();
}

std::ostream& output_long_lat(std::ostream& o, Station& s) {
  return o << s.get_longitude() << s.separator << s.get_latitude();
}

std::ostream& output_xml(std::ostream& o, Station& s) {
  return o << "<latitude=" << s.get_latitude()
           << ", longitude=" << s.get_longitude() << ">";
}

std::ostream& output_dms(std::ostream& o, Station& s, bool lat_before_lng) {
  o << std::left << std::setw(15) << s.get_name() << std::right << "\t";
  s.dms_out(o, "\t", lat_before_lng) << "\t";
  if (lat_before_lng)
    return o << s.get_latitude() << "\t" << s.get_longitude();
  return o << s.get_longitude() << "\t" << s.get_latitude();
}

std::ostream& output_dm(std::ostream& o, Station& s, bool lat_before_lng) {
  return s.dm_out(o, " ", lat_before_lng);
}

std::ostream& operator<<(std::ostream& o, Station& s) {
  switch (s.get_output()) {
    case Station::OUTPUT_LAT_LONG: return output_lat_long(o, s);
    case Station::OUTPUT_LONG_LAT: return output_long_lat(o, s);
    case Station::OUTPUT_XML: return output_xml(o, s);
    case Station::OUTPUT_DM_LAT_LONG: return s.dm_out(o, " ", true);
    case Station::OUTPUT_DMS_LAT_LONG: return output_dms(o, s, true);
    case Station::OUTPUT_DM_LONG_LAT: return s.dm_out(o, " ", false);
    case Station::OUTPUT_DMS_LONG_LAT: return output_dms(o, s, false);
  }
  std::cerr << "Unknown output type " << static_cast<unsigned>(s.get_output())
            << "\n";
  std::exit(1);
}

// ---------------------------------------------------------------- catalog

namespace {

struct catalog_entry {
  int id;
  const char* key;
};

// The catalog keys in ascending identifier order.
constexpr catalog_entry catalog_keys[] = {
    {UNKNOWN, "Unknown"},
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) {ENUM, #Key},
#include "stations.def"
};

// The rows number the entries 1, 2, ... in their order, so that the
// identifiers, and the catalog options' codes made from them, have no gaps.
constexpr bool numbered_in_row_order() {
  for (std::size_t i = 0; i < std::size(catalog_keys); ++i)
    if (catalog_keys[i].id != static_cast<int>(i)) return false;
  return true;
}
static_assert(numbered_in_row_order(),
              "stations.def: the identifiers must be 1, 2, ... in row order");

// Built at start-up from the table above: each node is made in place at the
// end of the tree, without the temporary pairs of an initializer list.
std::map<int, std::string> make_enum2name() {
  std::map<int, std::string> m;
  for (const catalog_entry& e : catalog_keys) m.emplace_hint(m.end(), e.id, e.key);
  return m;
}

}  // namespace

const std::map<int, std::string> enum2name = make_enum2name();

Station create_station(const std::string& type, basetime_t basetime,
                       double baz, double baz_original, double sbaz) {
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) \
  if (type == #Key) return Key##Station(basetime, baz, baz_original, sbaz);
#include "stations.def"
  return DefaultStation(basetime, baz, baz_original, sbaz);
}
