// The association's view of its input: the arrays (sites), the detections
// with a time (arrivals) in a canonical order that does not depend on the
// order of the input, each array's arrivals in time order, and the
// likelihood model shared by every step.
//
// Units: angles in degrees unless named _rad, distances in km, times in s.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "assoc/associate.h"
#include "assoc/sphere.h"

namespace assoc {

/// One array: its name (or its position when it has none) and place.
struct Site {
  std::string key;
  double latitude, longitude;
  Vec3 p, east, north;  ///< position and local frame on the sphere
};

/// One detection with a time.
struct Arrival {
  std::size_t input;   ///< index in the input
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
/// arrival time = origin time + distance x slowness, with the slowness of
/// the celerity range's mean and spread (uniform over the range) plus the
/// pick error, as the locator has it.
struct Model {
  double radius_km;       ///< mean radius of the earth
  double slowness;        ///< mean slowness, s/km
  double slowness_sd;     ///< its standard deviation, s/km
  double slowness_max;    ///< of the lowest celerity, s/km
  double pick_var;        ///< variance of a pick, s^2
  double max_arc;         ///< farthest source from a site, radians
  double cos_max_arc;
  double span_s;          ///< longest time from an origin to an arrival

  explicit Model(const Options& options, double radius_km);
  /// Variance of the travel time over `arc` radians, s^2.
  double time_var(double arc) const {
    const double spread = arc * radius_km * slowness_sd;
    return pick_var + spread * spread;
  }
};

struct Catalogue {
  std::vector<Site> sites;
  std::vector<Arrival> arrivals;  ///< by time, then site, bearing, input
  /// Per site: its arrivals (indices) and their times, in time order.
  std::vector<std::vector<std::uint32_t>> by_site;
  std::vector<std::vector<double>> site_times;
};

/// Sites and arrivals of `detections`; ln_clutter is left for clutter.h.
Catalogue make_catalogue(const std::vector<fix::Detection>& detections,
                         const Options& options);

}  // namespace assoc
