// The association's view of its input: the arrays (sites), and a window of
// the detections with a time (arrivals) in a canonical order that does not
// depend on the order of the input: by time, then array, bearing, sigma.
// Arrivals are numbered in that order from the start of the input (their
// id); the window holds a contiguous run of them, each array's in time
// order, and moves on as the input does. Also the likelihood model shared
// by every step.
//
// Units: angles in degrees unless named _rad, distances in km, times in s.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "assoc/associate.h"
#include "geo/sphere.h"

namespace assoc {

using geo::Vec3;

/// Number of an arrival in the canonical order.
using Id = std::uint64_t;

/// One array: a station name at one place (a detection without a name is
/// named by its place).
struct Site {
  std::string key;
  double latitude, longitude;
  Vec3 p, east, north;  ///< position and local frame on the sphere
};

/// One detection with a time.
struct Arrival {
  std::size_t input;   ///< the caller's number of the detection
  std::uint32_t site;  ///< index in Catalogue::sites
  double time;         ///< s since 1970
  double bearing;      ///< degrees from north, [0, 360)
  double sigma;        ///< its standard deviation, degrees
  Vec3 along;          ///< unit tangent of the bearing at the site
  Vec3 normal;         ///< pole of the bearing's great circle (p x along)
  double ln_clutter;   ///< ln of the clutter density at this bearing and
                       ///< time, per second per degree
};

/// The likelihood model: Gaussian bearing errors of the arrival's sigma;
/// arrival time = origin time + distance x slowness, the slowness drawn
/// from a mixture of Gaussian phases (the options'), plus the pick error.
/// The gates and the pairs' windows take the celerity range's mean and
/// spread (uniform over the range), as the locator has them.
struct Model {
  /// One phase of the mixture: ln of its normalised weight, mean and
  /// standard deviation of its slowness (s/km).
  struct Component {
    double ln_weight, slowness, slowness_sd;
  };

  double radius_km;     ///< mean radius of the earth
  double slowness;      ///< mean slowness of the celerity range, s/km
  double slowness_sd;   ///< its standard deviation, s/km
  double slowness_max;  ///< of the lowest celerity, s/km
  double pick_var;      ///< variance of a pick, s^2
  double max_arc;       ///< farthest source from a site, radians
  double cos_max_arc;
  double span_s;        ///< longest time from an origin to an arrival
  std::vector<Component> components;

  Model(const Options& options, double radius_km);
  /// Variance of the travel time over `arc` radians with the celerity
  /// range's spread, s^2.
  double time_var(double arc) const {
    const double spread = arc * radius_km * slowness_sd;
    return pick_var + spread * spread;
  }
  /// Variance of the travel time of component `k` over `km` km, s^2.
  double phase_var(const Component& k, double km) const {
    const double spread = km * k.slowness_sd;
    return pick_var + spread * spread;
  }
  /// ln of the density (per s) of the travel time `travel` (s) over `km`
  /// km, every component's variance increased by `extra` (s^2).
  double ln_travel(double travel, double km, double extra) const;
  /// The number of standard deviations by which `travel` (s) misses the
  /// nearest component over `km` km.
  double travel_z(double travel, double km) const;
};

/// The name of the array of a detection and its place, which make it one.
std::string site_key(const fix::Detection& d);

class Catalogue {
 public:
  explicit Catalogue(const Options& options) : sigma_(options.settings.sigma_deg) {}

  /// Appends `detections` (with the callers' numbers `inputs`), all later
  /// than those appended before: sorted into the canonical order and
  /// numbered after them. Their ln_clutter is `ln_clutter` (NaN: to be
  /// measured).
  void append(const std::vector<fix::Detection>& detections,
              const std::vector<std::size_t>& inputs,
              const std::vector<double>& ln_clutter);
  /// Drops the arrivals before `time`.
  void drop_before(double time);

  std::vector<Site> sites;
  /// Per site: the ids of its arrivals in the window, and their times.
  std::vector<std::vector<Id>> by_site;
  std::vector<std::vector<double>> site_times;

  Id first() const { return base_; }
  Id end() const { return base_ + arrivals_.size(); }
  bool empty() const { return arrivals_.empty(); }
  const Arrival& at(Id id) const { return arrivals_[id - base_]; }
  Arrival& at(Id id) { return arrivals_[id - base_]; }
  const fix::Detection& detection(Id id) const {
    return detections_[id - base_];
  }
  /// The first arrival at or after `time` (end() when none).
  Id lower_bound(double time) const;

 private:
  std::uint32_t site_of(const fix::Detection& d);

  double sigma_;
  std::map<std::string, std::uint32_t> site_index_;
  Id base_ = 0;
  std::vector<Arrival> arrivals_;
  std::vector<fix::Detection> detections_;
};

}  // namespace assoc
