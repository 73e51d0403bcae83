// Maximum-likelihood location of one event from its bearings and arrival
// times: a robust start from pairwise crossings (all pairs of a small event,
// a fixed sample of a large one) with the arrival times checked against it,
// a damped Gauss-Newton (Levenberg-Marquardt) fit in a local east/north
// frame re-centred at every step, outlier rejection, the 95% confidence
// ellipse and a verdict. The cost of one event grows linearly with its
// number of detections.
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
  std::vector<Crossing> crossings;
  ///< the usable crossings of the pairs crossed for the start
  std::size_t pairs = 0;  ///< pairs of detections from different sites
  std::size_t pairs_crossed = 0;
  ///< of them, those crossed for the start: all when there are at most
  ///< max_start_pairs, else a sample of at most that many
  unsigned geodesics = 0;  ///< inverse and direct problems solved
};

/// The most pairs of detections crossed for the start of one event: every
/// pair of an event of up to 64 detections (2,016 pairs).
inline constexpr std::size_t max_start_pairs = 2048;

/// sqrt of the 95% quantile of chi-square with 2 degrees of freedom.
inline constexpr double ellipse95_scale = 2.447746830680816;
/// The 97.5% quantile of the standard normal distribution.
inline constexpr double normal975 = 1.959963984540054;

/// Locates events; one object per thread (it keeps work buffers).
class Locator {
 public:
  /// Settings out of range (a bearing standard deviation that is not
  /// positive, celerities not with 0 < MIN <= MAX, a negative pick error or
  /// one of 0 with a single celerity, which would make the arrival times
  /// exact, an ellipsoid number not from 1 to 25, or anything not finite)
  /// make every event a no-fix that says so. Within range, no standard
  /// deviation is taken below 1e-9 degree for a bearing nor 1 ms for a
  /// travel time.
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
  struct Start;
  enum class Review { settled, changed, bearing_away };
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
  double time_variance(double distance_km) const;

  // The steps of locate(), in order.
  double observe(const Event& event);
  bool start(Solution& solution, Start& s);
  bool cross(std::size_t i, std::size_t j, double min_arc, double& elat,
             double& elon, double& sd_km, geo::Vec3& x) const;
  double start_misfit(const geo::Vec3& x, double min_arc,
                      const std::vector<std::size_t>& sample) const;
  void screen_times(const Start& s);
  bool settle(const Event& event, const Start& s, Trial& at,
              double cov[3][3], Solution& solution);
  bool fit(double& lat, double& lon, double& t0, Trial& at,
           std::size_t& slid, Solution& solution);
  Review review(const Trial& at, const double cov[3][3], int rows,
                Solution& solution);
  void describe(const Trial& at, const double cov[3][3], double t_ref,
                Solution& solution) const;
  void report(const Trial& at, Solution& solution) const;
  void judge(const Trial& at, Solution& solution) const;

  Settings settings_;
  std::string invalid_;  ///< why the settings are out of range ("" if not)
  geo::Earth earth_;
  double slowness_;     ///< mean slowness, s/km
  double slowness_sd_;  ///< standard deviation of the slowness, s/km
  std::vector<Observation> obs_;
};

}  // namespace fix
