// Detections, events and the settings of a location run.
//
// Units: angles in degrees (latitude north positive, longitude east
// positive, azimuths clockwise from north), times in seconds since
// 1970-01-01T00:00:00Z (UTC, no leap seconds), celerities in km/s.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace fix {

/// One detection: the bearing of a signal measured at a station, and
/// optionally its arrival time and what the array measured besides.
struct Detection {
  static constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

  std::string station;        ///< station name (may be empty)
  double latitude = 0.0;      ///< station latitude, degrees, (-90, 90)
  double longitude = 0.0;     ///< station longitude, degrees, [-180, 180]
  double back_azimuth = 0.0;  ///< bearing, degrees from north, [0, 360)
  double sigma = 0.0;         ///< its standard deviation, degrees; 0: the
                              ///< run's default
  bool has_time = false;      ///< whether `time` holds an arrival time
  double time = 0.0;          ///< arrival time, seconds since 1970 (UTC)
  double trace_velocity = unknown;  ///< apparent speed of the wavefront
                                    ///< across the array, m/s (> 0);
                                    ///< NaN when not known
  double f_statistic = unknown;     ///< the detector's F statistic
                                    ///< (dimensionless); NaN when not known
  double elevation = unknown;       ///< station elevation, m above sea
                                    ///< level; NaN when not known
};

/// The detections of one event, in input order.
struct Event {
  std::string name;  ///< the event's identifier ("" for an unnamed event)
  std::vector<Detection> detections;
  std::size_t refused = 0;  ///< detections of this event refused as bad input
};

/// Settings of the location.
struct Settings {
  double sigma_deg = 4.0;        ///< default bearing standard deviation, deg
  double celerity_min = 0.22;    ///< lowest celerity, km/s
  double celerity_max = 0.34;    ///< highest celerity, km/s
  double pick_error_s = 10.0;    ///< standard deviation of a pick, s
  int ellipsoid = 25;            ///< CEarth ellipsoid number (WGS 84)
};

}  // namespace fix
