// Seeded synthetic worlds for the association: a network of infrasound
// arrays, events at random places and times, the arrivals each array hears,
// and clutter at every array. Geometry from GeographicLib (WGS 84), an
// independent reference for the program's own geodesics.
//
// The model:
// - an array hears an event with a probability falling with distance d,
//   hear_max / (1 + (d / hear_half_km)^4), and never beyond hear_limit_km;
// - an array that hears an event gets one arrival, and a second one with
//   probability `second_arrival` (a second phase of the same source, kept
//   when the two arrive at least a minute apart);
// - each arrival's reciprocal celerity is drawn from the three-phase
//   mixture published for infrasound: weights 0.0539, 0.0899, 0.8562;
//   means 1/0.327, 1/0.293, 1/0.26 s/km; standard deviations 0.066, 0.08,
//   0.33 s/km (redrawn outside 2.5 to 6 s/km);
// - bearings deviate from the geodesic azimuth by a Gaussian of
//   `bearing_sd`, or with probability `bearing_tail` one of
//   `bearing_tail_sd` (the heavier tail); picks by a Gaussian of `pick_sd`;
// - clutter: at every array `persistent_sources` directions, drawn at
//   random, slowly wandering (a sine of `persistent_wander_deg` over
//   `persistent_period_s`) with a spread of `persistent_sd`, detected as a
//   Poisson process of `persistent_per_hour` in all; and random noise from
//   any direction at `random_per_hour`.
//
// Units: degrees, km, seconds since 1970 (UTC).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fix/event.h"

namespace world {

/// One infrasound array.
struct Array {
  std::string name;
  double latitude, longitude;  ///< degrees
};

/// One true event.
struct Source {
  double latitude, longitude;  ///< degrees
  double time;                 ///< origin time, s since 1970
};

/// What a world is made of. The defaults are those of the regional network.
struct Config {
  std::string name;
  std::uint64_t seed = 1;
  double start = 1262304000.0;  ///< 2010-01-01T00:00:00Z
  double duration_s = 86400.0;
  std::vector<Array> arrays;
  int events = 0;
  /// Events uniformly in the spherical cap of radius `region_km` around
  /// (region_lat, region_lon); the whole globe when `region_km` <= 0.
  double region_lat = 0.0, region_lon = 0.0, region_km = 0.0;
  double hear_max = 0.95, hear_half_km = 1200.0, hear_limit_km = 2500.0;
  double second_arrival = 0.25;
  double bearing_sd = 2.5, bearing_tail_sd = 7.0, bearing_tail = 0.15;
  double pick_sd = 4.0;
  int persistent_sources = 1;
  double persistent_per_hour = 0.0;
  double persistent_sd = 2.0, persistent_wander_deg = 4.0;
  double persistent_period_s = 5.0 * 86400.0;
  double random_per_hour = 0.0;
};

/// A generated world: the detections as a detection list would give them
/// (array by array, each in time order), and the truth.
struct World {
  std::vector<Array> arrays;
  std::vector<Source> sources;
  std::vector<fix::Detection> detections;
  std::vector<int> source;  ///< per detection: its source, -1 for clutter
  std::vector<int> array;   ///< per detection: its array
};

World generate(const Config& config);

/// The eight arrays of the regional network (about 2,000 km across).
std::vector<Array> regional_network();
/// Forty arrays spread over the globe (a jittered Fibonacci lattice).
std::vector<Array> global_network();

/// The benchmark's worlds.
Config clean();    ///< regional, 3 days, 60 events, no clutter
Config typical();  ///< regional, a week, 160 events, 1 + 0.5 clutter/h
Config hard();     ///< regional, a week, 400 events, 4 + 2 clutter/h
Config global();   ///< global, a week, 400 events heard up to 4,000 km,
                   ///< 2.75 + 0.25 clutter/h
Config global_month();  ///< the global world over 30 days

}  // namespace world
