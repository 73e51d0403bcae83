// Maximum-likelihood location of one event from its bearings and arrival
// times: a robust start from the pairwise crossings, a damped Gauss-Newton
// (Levenberg-Marquardt) fit in a local east/north frame re-centred at every
// step, outlier rejection, the 95% confidence ellipse and a verdict.
//
// Units: angles in degrees, distances in km, times in seconds.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "fix/event.h"
#include "geo/earth.h"

namespace fix {

enum class Status { ok, ill_conditioned, no_fix };

/// "ok", "ill-conditioned" or "no-fix".
const char* status_name(Status s);

/// The fit's view of one detection.
struct DetectionFit {
  double residual_deg = std::numeric_limits<double>::quiet_NaN();
  ///< observed minus computed bearing, degrees, (-180, 180]
  double residual_s = std::numeric_limits<double>::quiet_NaN();
  ///< observed minus predicted arrival time, s (NaN without a time)
  double distance_km = std::numeric_limits<double>::quiet_NaN();
  ///< from the station to the fix, km
  bool used = false;  ///< whether the detection took part in the final fit
};

/// A crossing of two bearings (detections `first` and `second`).
struct Crossing {
  std::size_t first, second;
  geo::LonLat at;  ///< degrees
};

/// The result for one event.
struct Solution {
  Status status = Status::no_fix;
  std::string reason;  ///< why not ok ("" when ok)
  double latitude = std::numeric_limits<double>::quiet_NaN();   ///< degrees
  double longitude = std::numeric_limits<double>::quiet_NaN();  ///< degrees
  double semi_major_km = std::numeric_limits<double>::quiet_NaN();
  double semi_minor_km = std::numeric_limits<double>::quiet_NaN();
  double azimuth_deg = std::numeric_limits<double>::quiet_NaN();
  ///< of the 95% ellipse's major axis, degrees from north in [0, 180)
  double cov_en[3] = {0, 0, 0};  ///< covariance (east, north): ee, en, nn, km^2
  bool has_origin = false;       ///< whether an origin time was fitted
  double origin_time = std::numeric_limits<double>::quiet_NaN();
  ///< seconds since 1970
  double origin_sigma_s = std::numeric_limits<double>::quiet_NaN();
  ///< standard deviation of the origin time, s
  std::vector<DetectionFit> detections;  ///< one per detection, input order
  std::vector<Crossing> crossings;       ///< the usable pairwise crossings
  unsigned geodesics = 0;  ///< inverse and direct problems solved
};

/// sqrt of the 95% quantile of chi-square with 2 degrees of freedom.
inline constexpr double ellipse95_scale = 2.447746830680816;
/// The 97.5% quantile of the standard normal distribution.
inline constexpr double normal975 = 1.959963984540054;

/// Locates events; one object per thread (it keeps work buffers).
class Locator {
 public:
  explicit Locator(const Settings& settings);
  Solution locate(const Event& event);
  const geo::Earth& earth() const { return earth_; }

 private:
  // One detection as the fit sees it.
  struct Observation {
    double lat, lon, baz, sigma;  // degrees
    bool has_time;
    double t;  // arrival time after the event's first one, s
    bool used;
    geo::Vec3 unit;         // on the sphere of geocentric latitudes
    geo::LocalFrame frame;  // likewise
    double gc_lat;          // geocentric latitude, degrees
  };
  struct Trial;
  /// Observed minus computed bearing of `o` (degrees, (-180, 180]) with the
  /// geodesic `g` from its station to the source.
  static double bearing_residual(const Observation& o,
                                 const geo::Geodesic& g) {
    return geo::wrap180(o.baz - g.azimuth_1);
  }
  /// Observed minus predicted arrival time of `o` (s) with the geodesic `g`
  /// and the origin time `t0` (s, from the event's first arrival).
  double time_residual(const Observation& o, const geo::Geodesic& g,
                       double t0) const {
    return o.t - t0 - g.distance_km * slowness_;
  }
  bool evaluate(double lat, double lon, double t0, Trial& trial,
                const Trial* weights, Solution& solution) const;
  double nonlinearity(const Trial& at, Solution& solution) const;
  double standardised(std::size_t k, const Trial& at, const double cov[3][3],
                      const geo::Geodesic& gd) const;
  void start(Solution& solution, double& lat, double& lon);
  bool fit(double& lat, double& lon, double& t0, Trial& at,
           std::size_t& slid, Solution& solution);

  Settings settings_;
  geo::Earth earth_;
  double slowness_;     ///< mean slowness, s/km
  double slowness_sd_;  ///< standard deviation of the slowness, s/km
  std::vector<Observation> obs_;
};

}  // namespace fix
