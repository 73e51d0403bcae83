// Station record and the angle types it holds.
//
// Angles are decimal degrees, north latitude and east longitude positive.
// A Station carries a position, the bearing data of a source (working
// azimuth `baz`, measured azimuth `baz_original`, its standard deviation
// `sbaz`, all in degrees clockwise from north) and the text form used by its
// stream output.
#pragma once

#include <chrono>
#include <iosfwd>
#include <map>
#include <string>

/// Reference time of a measurement: nanosecond ticks of the system clock.
using basetime_t =
    std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/// The zero time point, the base time every source of this program gets.
inline constexpr basetime_t epoch{};

/// Hemisphere letters indexed by sign + 1: {"W", " ", "E"} and {"S", " ", "N"}.
extern const char* we[3];
extern const char* sn[3];

/// An angle in decimal degrees with its hemisphere letters.
class latlong {
 public:
  latlong(double d_, const char** lbl_) : deg(d_), label(lbl_) {}
  latlong(const latlong&) = default;
  latlong& operator=(const latlong&) = default;

  void set(double d) { deg = d; }
  double operator()() const { return deg; }

  /// Sign (-1 or +1), whole degrees and decimal minutes of |deg|.
  void to_dm(int& sign, int& d, double& m) const;
  /// Sign (-1 or +1), whole degrees, whole minutes and decimal seconds of |deg|.
  void to_dms(int& sign, int& d, int& m, double& s) const;

  /// "N67 51.368": letter, degrees, blank, minutes with three decimals.
  std::ostream& dm_out(std::ostream& o) const;
  /// "N067 51 22.080": letter, degrees (3 digits), minutes (2), seconds (6.3f).
  std::ostream& dms_out(std::ostream& o) const;

  virtual bool valid() const = 0;

  double deg;          ///< the angle, degrees
  const char** label;  ///< `we` or `sn`, shared, never owned
};

/// Latitude in degrees; valid in [-90, 90].
class latitude : public latlong {
 public:
  explicit latitude(double d_) : latlong(d_, sn) {}
  bool valid() const override { return -90.0 <= deg && deg <= 90.0; }
};

/// Longitude in degrees; valid in [-180, 180].
class longitude : public latlong {
 public:
  explicit longitude(double d_) : latlong(d_, we) {}
  bool valid() const override { return -180.0 <= deg && deg <= 180.0; }
};

/// A named position with the bearing data of a source.
class Station {
 public:
  /// Text forms written by operator<<.
  enum output_types : unsigned {
    OUTPUT_LAT_LONG = 0,      ///< latitude, separator, longitude
    OUTPUT_LONG_LAT = 1,      ///< longitude, separator, latitude
    OUTPUT_XML = 2,           ///< <latitude=.., longitude=..>
    OUTPUT_DM_LAT_LONG = 3,   ///< degrees and decimal minutes, latitude first
    OUTPUT_DMS_LAT_LONG = 4,  ///< name and D-M-S, latitude first
    OUTPUT_DM_LONG_LAT = 5,   ///< degrees and decimal minutes, longitude first
    OUTPUT_DMS_LONG_LAT = 6,  ///< name and D-M-S, longitude first
  };

  /// The display name is name_ + ul_ + mic_; lat_ and lon in degrees; the
  /// azimuths in degrees clockwise from north.
  Station(const std::string& name_, const std::string& ul_,
          const std::string& mic_, double lat_, double lon,
          basetime_t basetime_, double baz_, double baz_original_,
          double sbaz_);
  Station(const Station&) = default;
  Station(Station&&) = default;
  Station& operator=(const Station&) = default;
  Station& operator=(Station&&) = default;

  virtual const std::string& get_name() const { return name; }
  virtual void set_name(const std::string& n) { name = n; }
  virtual double get_latitude() const { return lat.deg; }
  virtual double get_longitude() const { return lng.deg; }
  virtual void set_latitude(double d) { lat.deg = d; }
  virtual void set_longitude(double d) { lng.deg = d; }
  virtual ~Station() = default;
  virtual basetime_t get_basetime() { return basetime; }

  /// Selects the text form and its separator; returns the form held before.
  output_types set_output(output_types ot, const char* sep);
  output_types get_output() const { return output_type; }

  /// The two angles' D-M-S (or D-M) forms with separator_ between them.
  std::ostream& dms_out(std::ostream& o, const char* separator_,
                        bool lat_before_lng);
  std::ostream& dm_out(std::ostream& o, const char* separator_,
                       bool lat_before_lng);

  std::string name;
  latitude lat;
  longitude lng;
  output_types output_type;
  std::string separator;
  basetime_t basetime;
  double baz;           ///< working azimuth, degrees
  double baz_original;  ///< measured azimuth, degrees
  double sbaz;          ///< standard deviation of the azimuth, degrees
};

std::ostream& output_lat_long(std::ostream& o, Station& s);
std::ostream& output_long_lat(std::ostream& o, Station& s);
std::ostream& output_xml(std::ostream& o, Station& s);
std::ostream& output_dms(std::ostream& o, Station& s, bool lat_before_lng);
std::ostream& output_dm(std::ostream& o, Station& s, bool lat_before_lng);
std::ostream& operator<<(std::ostream& o, Station& s);

// The station catalog: identifiers, names and the factory.

/// The number of catalog entries: one per row of stations.def.
inline constexpr int station_count = 0
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) +1
#include "stations.def"
    ;

typedef enum : int {
  UNKNOWN = 0,
#define STATION(id, ENUM, Key, base, joiner, suffix, lat, lon) ENUM = id,
#include "stations.def"
  FIRST = 1,
  USUAL = 7,
  LAST = station_count,
} station_id;

#define STATION(id, ENUM, Key, base, joiner, suffix, lat_, lon_)           \
  class Key##Station : public Station {                                    \
   public:                                                                 \
    Key##Station(basetime_t basetime_, double baz_, double baz_original_,  \
                 double sbaz_)                                             \
        : Station(base, joiner, suffix, lat_, lon_, basetime_, baz_,       \
                  baz_original_, sbaz_) {}                                 \
    ~Key##Station() override = default;                                   \
  };
#include "stations.def"

/// Identifier to catalog key: 0 "Unknown", then the catalog entries.
extern const std::map<int, std::string> enum2name;

/// The catalog station whose key equals `type` exactly, as a plain Station;
/// the `Default` placeholder (1000, 1000) for any other text.
Station create_station(const std::string& type, basetime_t basetime,
                       double baz, double baz_original, double sbaz);
