// Notation: in the fit, the parameters are the source's displacement east
// and north (km) in the tangent frame at the current estimate, and the
// origin time t0 (s, from the event's first arrival time) when any arrival
// time takes part. A is the normal matrix J^T W J, g = J^T W r, r the
// residuals (observed minus computed), W the inverse variances.

#include "fix/locate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "norsar/baz_cross.h"

namespace fix {

using geo::arc_degrees;
using geo::deg2rad;
using geo::Geodesic;
using geo::local_frame;
using geo::rad2deg;
using geo::sphere_azimuth;
using geo::unit_vector;
using geo::Vec3;
using geo::wrap180;
using geo::wrap360;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t npos = static_cast<std::size_t>(-1);

/// A fix or a trial point nearer than this to a station it uses is refused:
/// the station's azimuth is undefined on it. km.
constexpr double min_station_km = 1.0;
/// Crossings farther than this from either station are not starts, degrees
/// of arc (a quarter circle).
constexpr double max_crossing_deg = 90.0;
/// Stations nearer each other than this give no crossing, degrees of arc.
constexpr double same_site_deg = 0.01;
/// Truncation of the squared normalised bearing residual in the start's
/// robust misfit.
constexpr double robust_cap = 9.0;
/// Studentised residual above which a detection is set aside.
constexpr double outlier_threshold = 3.5;
/// Standardised prediction residual up to which a set-aside detection is
/// taken back.
constexpr double readmit_threshold = 3.0;
/// A detection whose bearing misses the start by more than this many of its
/// standard deviations is left out of the first fit.
constexpr double start_gate = 5.0;
/// Ill-conditioned: at an end of an axis of the 95% ellipse, a bearing (or an
/// arrival time) departs from its linear prediction by more than this many
/// of its standard deviations.
constexpr double max_nonlinearity = 1.0;
/// Longest step of one iteration, km.
constexpr double max_step_km = 2000.0;
/// Convergence: a step shorter than this (km) that changes t0 by less than
/// `time_tolerance_s`.
constexpr double step_tolerance_km = 1e-5;
constexpr double time_tolerance_s = 1e-5;
/// A refused step shorter than this (km) and changing t0 by less than
/// `flat_step_s` ends the fit.
constexpr double flat_step_km = 1e-2;
constexpr double flat_step_s = 1e-2;
constexpr int max_trials = 60;

// Cholesky factorisation of the symmetric n x n matrix m (n <= 3) into the
// lower triangle l; false when m is not positive definite.
bool cholesky(int n, const double m[3][3], double l[3][3]) {
  double max_diag = 0.0;
  for (int i = 0; i < n; ++i) max_diag = std::max(max_diag, m[i][i]);
  if (!(max_diag > 0.0) || !std::isfinite(max_diag)) return false;
  for (int j = 0; j < n; ++j) {
    double d = m[j][j];
    for (int k = 0; k < j; ++k) d -= l[j][k] * l[j][k];
    if (!(d > 1e-13 * max_diag)) return false;
    l[j][j] = std::sqrt(d);
    for (int i = j + 1; i < n; ++i) {
      double s = m[i][j];
      for (int k = 0; k < j; ++k) s -= l[i][k] * l[j][k];
      l[i][j] = s / l[j][j];
    }
  }
  return true;
}

// Solves l l^T x = b.
void cholesky_solve(int n, const double l[3][3], const double b[3],
                    double x[3]) {
  double y[3];
  for (int i = 0; i < n; ++i) {
    double s = b[i];
    for (int k = 0; k < i; ++k) s -= l[i][k] * y[k];
    y[i] = s / l[i][i];
  }
  for (int i = n - 1; i >= 0; --i) {
    double s = y[i];
    for (int k = i + 1; k < n; ++k) s -= l[k][i] * x[k];
    x[i] = s / l[i][i];
  }
}

// The inverse of the symmetric positive definite m; false when it is not.
bool spd_inverse(int n, const double m[3][3], double inv[3][3]) {
  double l[3][3];
  if (!cholesky(n, m, l)) return false;
  for (int c = 0; c < n; ++c) {
    double e[3] = {0, 0, 0}, x[3];
    e[c] = 1.0;
    cholesky_solve(n, l, e, x);
    for (int r = 0; r < n; ++r) inv[r][c] = x[r];
  }
  return true;
}

// Derivatives, with respect to the source's displacement east and north
// (km), of the azimuth at the station (degrees per km) and of the distance
// (km per km), from the geodesic station-source `g`. A displacement across
// the geodesic at the source turns the azimuth at the station by the
// displacement over the reduced length, here that of the sphere of radius
// `radius_km`; one along it lengthens the geodesic by as much.
struct Partials {
  double bearing[2];
  double distance[2];
};

Partials partials(const Geodesic& g, double radius_km) {
  const double alpha = g.azimuth_2 * deg2rad;
  const double sa = std::sin(alpha), ca = std::cos(alpha);
  const double m12 =
      std::max(radius_km * std::sin(g.distance_km / radius_km), 1e-3);
  return {{ca / m12 * rad2deg, -sa / m12 * rad2deg}, {sa, ca}};
}

}  // namespace

const char* status_name(Status s) {
  switch (s) {
    case Status::ok:
      return "ok";
    case Status::ill_conditioned:
      return "ill-conditioned";
    case Status::no_fix:
      break;
  }
  return "no-fix";
}


// The geodesics from every used station to one point, the variances of the
// travel times over those distances, and the misfit there.
struct Locator::Trial {
  double lat = nan, lon = nan, t0 = 0.0;
  double cost = nan;
  int params = 2;  // 3 when an arrival time takes part
  std::size_t on_station = npos;  // a station nearer than min_station_km
  std::vector<Geodesic> geo;
  std::vector<double> var_t;  // s^2

  // Variance of the travel time over `distance_km` (s^2).
  static double time_variance(const Locator& l, double distance_km) {
    const double spread = distance_km * l.slowness_sd_;
    return l.settings_.pick_error_s * l.settings_.pick_error_s +
           spread * spread;
  }

  // t0 that zeroes the weighted mean time residual.
  void centre_origin(const Locator& l) {
    double sw = 0.0, swt = 0.0;
    for (std::size_t i = 0; i < l.obs_.size(); ++i) {
      const Observation& o = l.obs_[i];
      if (!o.used || !o.has_time) continue;
      sw += 1.0 / var_t[i];
      swt += l.time_residual(o, geo[i], 0.0) / var_t[i];
    }
    if (sw > 0.0) t0 = swt / sw;
  }

  // The misfit with the time variances of `weights` (this trial's own, or
  // those of the point a step starts from: the weights are held during a
  // step and renewed after it, an iteratively reweighted least squares).
  void compute_cost(const Locator& l, const Trial& weights) {
    cost = 0.0;
    for (std::size_t i = 0; i < l.obs_.size(); ++i) {
      const Observation& o = l.obs_[i];
      if (!o.used) continue;
      const double rb = l.bearing_residual(o, geo[i]) / o.sigma;
      cost += rb * rb;
      if (o.has_time) {
        const double rt = l.time_residual(o, geo[i], t0);
        cost += rt * rt / weights.var_t[i];
      }
    }
  }

  // Normal matrix and gradient of the linearised problem at this point;
  // returns the number of residuals.
  int normal_equations(const Locator& l, double a[3][3], double g[3]) const {
    for (int i = 0; i < 3; ++i) {
      g[i] = 0.0;
      for (int j = 0; j < 3; ++j) a[i][j] = 0.0;
    }
    int rows = 0;
    const double radius = l.earth_.mean_radius_km();
    for (std::size_t k = 0; k < l.obs_.size(); ++k) {
      const Observation& o = l.obs_[k];
      if (!o.used) continue;
      const Geodesic& gd = geo[k];
      const Partials d = partials(gd, radius);
      const double* jb = d.bearing;
      const double wb = 1.0 / (o.sigma * o.sigma);
      const double rb = l.bearing_residual(o, gd);
      for (int i = 0; i < 2; ++i) {
        g[i] += wb * jb[i] * rb;
        for (int j = 0; j < 2; ++j) a[i][j] += wb * jb[i] * jb[j];
      }
      ++rows;
      if (o.has_time) {
        const double jt[3] = {l.slowness_ * d.distance[0],
                              l.slowness_ * d.distance[1], 1.0};
        const double wt = 1.0 / var_t[k];
        const double rt = l.time_residual(o, gd, t0);
        for (int i = 0; i < 3; ++i) {
          g[i] += wt * jt[i] * rt;
          for (int j = 0; j < 3; ++j) a[i][j] += wt * jt[i] * jt[j];
        }
        ++rows;
      }
    }
    return rows;
  }
};

Locator::Locator(const Settings& settings)
    : settings_(settings), earth_(settings.ellipsoid) {
  const double s_lo = 1.0 / settings.celerity_max;
  const double s_hi = 1.0 / settings.celerity_min;
  // Slowness uniform between the two bounds: its mean and its standard
  // deviation (width over sqrt(12)).
  slowness_ = 0.5 * (s_lo + s_hi);
  slowness_sd_ = (s_hi - s_lo) / std::sqrt(12.0);
}

bool Locator::evaluate(double lat, double lon, double t0, Trial& trial,
                       const Trial* weights, Solution& solution) const {
  trial.lat = lat;
  trial.lon = lon;
  trial.t0 = t0;
  trial.geo.resize(obs_.size());
  trial.var_t.resize(obs_.size());
  trial.params = 2;
  trial.on_station = npos;
  for (std::size_t i = 0; i < obs_.size(); ++i) {
    const Observation& o = obs_[i];
    if (!o.used) continue;
    const Geodesic g = earth_.inverse(o.lat, o.lon, lat, lon);
    ++solution.geodesics;
    if (!std::isfinite(g.distance_km) || !std::isfinite(g.azimuth_1) ||
        !std::isfinite(g.azimuth_2))
      return false;
    if (g.distance_km < min_station_km) {
      trial.on_station = i;
      return false;
    }
    trial.geo[i] = g;
    trial.var_t[i] = Trial::time_variance(*this, g.distance_km);
    if (o.has_time) trial.params = 3;
  }
  trial.compute_cost(*this, weights ? *weights : trial);
  return std::isfinite(trial.cost);
}

// The start: of the pairwise crossings in front of both stations and within
// a quarter circle of each, the one with the least robust misfit over all
// bearings (squared normalised residuals capped at `robust_cap`).
void Locator::start(Solution& solution, double& lat, double& lon) {
  double best = std::numeric_limits<double>::infinity();
  const double min_arc = min_station_km / earth_.mean_radius_km() * rad2deg;
  for (std::size_t i = 0; i < obs_.size(); ++i) {
    for (std::size_t j = i + 1; j < obs_.size(); ++j) {
      const Observation& a = obs_[i];
      const Observation& b = obs_[j];
      const double del3 = arc_degrees(a.unit, b.unit);
      if (!(del3 > same_site_deg)) continue;
      const double ep1 = sphere_azimuth(a.frame, b.unit);
      const double ep2 = sphere_azimuth(b.frame, a.unit);
      double elat = nan, elat_sd = nan, elon = nan, elon_sd = nan;
      double dismin = 3.141592653589793;
      int ierr = 0;
      hyposat_cross(a.gc_lat, a.lon, a.baz, a.sigma, b.baz, b.sigma, del3, ep1,
                    ep2, elat, elat_sd, elon, elon_sd, dismin, 0, ierr);
      if (ierr == 10 || ierr == 1 || ierr == 2) continue;
      if (!std::isfinite(elat) || !std::isfinite(elon)) continue;
      const Vec3 x = unit_vector(elat, elon);
      bool usable = true;
      for (const Observation* o : {&a, &b}) {
        const double d = arc_degrees(o->unit, x);
        const double off = wrap180(o->baz - sphere_azimuth(o->frame, x));
        if (!(d > min_arc && d <= max_crossing_deg && std::fabs(off) < 90.0))
          usable = false;
      }
      if (!usable) continue;
      double misfit = 0.0;
      for (const Observation& o : obs_) {
        const double off = wrap180(o.baz - sphere_azimuth(o.frame, x)) / o.sigma;
        const bool on_station = !(arc_degrees(o.unit, x) > min_arc);
        misfit += on_station ? robust_cap : std::min(off * off, robust_cap);
      }
      const double glat = convlat_geocentric2geographic(elat);
      solution.crossings.push_back({i, j, {wrap180(elon), glat}});
      if (misfit < best) {
        best = misfit;
        lat = glat;
        lon = wrap180(elon);
        for (Observation& o : obs_) {
          const double off =
              wrap180(o.baz - sphere_azimuth(o.frame, x)) / o.sigma;
          o.used = std::fabs(off) <= start_gate &&
                   arc_degrees(o.unit, x) > min_arc;
        }
      }
    }
  }
}

// Levenberg-Marquardt from (lat, lon, t0); on success the three hold the
// solution and `at` its geodesics. A step is taken when it does not raise
// the misfit; the fit has converged when the step is negligible, or when a
// short step is refused: the misfit is then flat to rounding, and what is
// left is the difference between the fixed point of the linearisation (its
// Jacobian uses the sphere's reduced length) and the exact minimum.
bool Locator::fit(double& lat, double& lon, double& t0, Trial& at,
                  std::size_t& slid, Solution& solution) {
  slid = npos;
  if (!evaluate(lat, lon, t0, at, nullptr, solution)) {
    slid = at.on_station;
    return false;
  }
  at.centre_origin(*this);
  at.compute_cost(*this, at);
  Trial trial;
  double lambda = 1e-3;
  for (int n = 0;; ++n) {
    if (n == max_trials) return false;
    double a[3][3], g[3], l[3][3], step[3] = {0, 0, 0};
    at.normal_equations(*this, a, g);
    const int p = at.params;
    double damped[3][3];
    for (int i = 0; i < p; ++i)
      for (int j = 0; j < p; ++j)
        damped[i][j] = a[i][j] + (i == j ? lambda * a[i][i] : 0.0);
    if (!cholesky(p, damped, l)) {
      lambda *= 10.0;
      if (lambda > 1e12) return false;
      continue;
    }
    cholesky_solve(p, l, g, step);
    double length = std::hypot(step[0], step[1]);
    const double dt = p == 3 ? step[2] : 0.0;
    if (length < step_tolerance_km && std::fabs(dt) < time_tolerance_s) break;
    const bool short_step = length < flat_step_km && std::fabs(dt) < flat_step_s;
    if (length > max_step_km) {
      const double s = max_step_km / length;
      step[0] *= s;
      step[1] *= s;
      length = max_step_km;
    }
    double nlat = at.lat, nlon = at.lon;
    if (length > 0.0) {
      earth_.direct(at.lat, at.lon, length,
                    std::atan2(step[0], step[1]) * rad2deg, nlat, nlon);
      ++solution.geodesics;
    }
    if (evaluate(nlat, nlon, at.t0 + dt, trial, &at, solution) &&
        trial.cost <= at.cost) {
      std::swap(at, trial);
      at.compute_cost(*this, at);  // with the new point's own weights
      lambda = std::max(lambda * 0.1, 1e-9);
    } else {
      if (trial.on_station != npos) slid = trial.on_station;
      if (short_step) break;
      lambda *= 10.0;
      if (lambda > 1e12) return false;
    }
  }
  lat = at.lat;
  lon = at.lon;
  t0 = at.t0;
  // Stopped at the edge of the zone kept free around a station: sliding.
  for (std::size_t i = 0; i < obs_.size(); ++i)
    if (obs_[i].used && at.geo[i].distance_km < 2.0 * min_station_km) {
      slid = i;
      return false;
    }
  return true;
}

Solution Locator::locate(const Event& event) {
  Solution solution;
  const std::size_t n = event.detections.size();
  solution.detections.resize(n);
  obs_.clear();
  obs_.reserve(n);
  double t_ref = nan;
  for (const Detection& d : event.detections) {
    if (d.has_time && !std::isfinite(t_ref)) t_ref = d.time;
    Observation o;
    o.lat = d.latitude;
    o.lon = d.longitude;
    o.baz = wrap360(d.back_azimuth);
    o.sigma = d.sigma > 0.0 ? d.sigma : settings_.sigma_deg;
    o.has_time = d.has_time;
    o.t = d.has_time ? d.time - t_ref : 0.0;
    o.used = true;
    o.gc_lat = convlat_geographic2geocentric(d.latitude);
    o.unit = unit_vector(o.gc_lat, d.longitude);
    o.frame = local_frame(o.gc_lat, d.longitude);
    obs_.push_back(o);
  }
  if (n < 2) {
    solution.reason = n == 0 ? "no usable detection"
                             : "only one usable detection";
    if (event.refused)
      solution.reason += "; " + std::to_string(event.refused) +
                         " refused as bad input";
    return solution;
  }

  double lat = nan, lon = nan;
  start(solution, lat, lon);
  if (!std::isfinite(lat)) {
    solution.reason =
        "no two bearings from different sites cross in front of both "
        "stations within a quarter circle";
    return solution;
  }

  Trial at;
  double t0 = 0.0;
  double a[3][3], g[3], cov[3][3];
  // Fit, then set aside the used detection that fits worst, or take back
  // the set-aside one that fits best, one at a time, refitting after each.
  for (std::size_t round = 0; round < 2 * n + 2; ++round) {
    std::size_t slid = npos;
    if (!fit(lat, lon, t0, at, slid, solution)) {
      solution.reason =
          slid == npos ? "the fit did not converge"
                       : "the fit slides onto station " +
                             (event.detections[slid].station.empty()
                                  ? "#" + std::to_string(slid + 1)
                                  : event.detections[slid].station) +
                             ", where its azimuth is undefined";
      return solution;
    }
    const int rows = at.normal_equations(*this, a, g);
    if (!spd_inverse(at.params, a, cov)) {
      solution.reason = "the bearings do not constrain the source";
      return solution;
    }
    std::size_t worst = npos, best = npos;
    double worst_score = 0.0, best_score = readmit_threshold;
    int bearings = 0;
    for (std::size_t k = 0; k < n; ++k) {
      const Observation& o = obs_[k];
      if (o.used) {
        ++bearings;
        double score = 0.0;
        if (std::fabs(bearing_residual(o, at.geo[k])) >= 90.0)
          score = std::numeric_limits<double>::infinity();  // points away
        else if (rows - at.params >= 2)
          score = standardised(k, at, cov, at.geo[k]);
        if (score > worst_score) {
          worst_score = score;
          worst = k;
        }
      } else {
        const Geodesic gd = earth_.inverse(o.lat, o.lon, at.lat, at.lon);
        ++solution.geodesics;
        const double score = standardised(k, at, cov, gd);
        if (score <= best_score) {
          best_score = score;
          best = k;
        }
      }
    }
    if (worst != npos && worst_score > outlier_threshold) {
      if (bearings <= 2) {
        solution.reason = "a bearing points away from the fix";
        return solution;
      }
      obs_[worst].used = false;
    } else if (best != npos) {
      obs_[best].used = true;
    } else {
      break;
    }
  }

  // The result.
  solution.latitude = lat;
  solution.longitude = lon;
  const double ee = cov[0][0], en = cov[0][1], nn = cov[1][1];
  solution.cov_en[0] = ee;
  solution.cov_en[1] = en;
  solution.cov_en[2] = nn;
  const double mean = 0.5 * (ee + nn);
  const double half = std::hypot(0.5 * (ee - nn), en);
  solution.semi_major_km = ellipse95_scale * std::sqrt(mean + half);
  solution.semi_minor_km =
      ellipse95_scale * std::sqrt(std::max(mean - half, 0.0));
  // Major axis: angle 0.5 atan2(2 en, ee - nn) from east, turned into an
  // azimuth from north.
  solution.azimuth_deg =
      wrap360(90.0 - 0.5 * std::atan2(2.0 * en, ee - nn) * rad2deg);
  if (solution.azimuth_deg >= 180.0) solution.azimuth_deg -= 180.0;
  if (at.params == 3) {
    solution.has_origin = true;
    solution.origin_time = t_ref + t0;
    solution.origin_sigma_s = std::sqrt(cov[2][2]);
  }

  for (std::size_t k = 0; k < n; ++k) {
    const Observation& o = obs_[k];
    DetectionFit& d = solution.detections[k];
    Geodesic gd;
    if (o.used) {
      gd = at.geo[k];
    } else {
      gd = earth_.inverse(o.lat, o.lon, lat, lon);
      ++solution.geodesics;
    }
    d.used = o.used;
    d.distance_km = gd.distance_km;
    d.residual_deg = bearing_residual(o, gd);
    if (o.has_time && solution.has_origin)
      d.residual_s = time_residual(o, gd, t0);
  }

  solution.status = Status::ok;
  const double departure = nonlinearity(at, solution);
  if (!(departure <= max_nonlinearity)) {
    solution.status = Status::ill_conditioned;
    char reason[160];
    std::snprintf(reason, sizeof reason,
                  "the linearised ellipse is not to be trusted: at its edge a "
                  "detection departs from its linear prediction by %.1f "
                  "standard deviations",
                  departure);
    solution.reason = reason;
  }
  return solution;
}

// The standardised residual of detection k at the fit `at` (covariance
// `cov`; `gd` the geodesic from its station to the fix): the residual over
// its standard deviation, sqrt(var - j C j^T) for a used detection (its
// studentised residual; 0 when the fit leaves it no freedom) and
// sqrt(var + j C j^T) for a set-aside one (a prediction); the larger of
// the bearing's and the arrival time's.
double Locator::standardised(std::size_t k, const Trial& at,
                             const double cov[3][3],
                             const Geodesic& gd) const {
  const Observation& o = obs_[k];
  const double sign = o.used ? -1.0 : 1.0;
  const Partials pd = partials(gd, earth_.mean_radius_km());
  const double* jb = pd.bearing;
  double score = 0.0;
  const double var_b = o.sigma * o.sigma;
  const double q_b = jb[0] * (cov[0][0] * jb[0] + cov[0][1] * jb[1]) +
                     jb[1] * (cov[1][0] * jb[0] + cov[1][1] * jb[1]);
  const double rb = bearing_residual(o, gd);
  if (var_b + sign * q_b > 1e-9 * var_b)
    score = std::fabs(rb) / std::sqrt(var_b + sign * q_b);
  if (o.has_time && at.params == 3) {
    const double jt[3] = {slowness_ * pd.distance[0],
                          slowness_ * pd.distance[1], 1.0};
    double q_t = 0.0;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) q_t += jt[i] * cov[i][j] * jt[j];
    const double var_t = Trial::time_variance(*this, gd.distance_km);
    const double rt = time_residual(o, gd, at.t0);
    if (var_t + sign * q_t > 1e-9 * var_t)
      score = std::max(score, std::fabs(rt) / std::sqrt(var_t + sign * q_t));
  }
  return score;
}

// How far the linearisation holds over the 95% ellipse: at the four ends of
// its axes, the largest difference between the exact change of a used
// bearing (or arrival time) from the fix and its linear prediction, in
// standard deviations of that observation.
double Locator::nonlinearity(const Trial& at, Solution& solution) const {
  double worst = 0.0;
  const double radius = earth_.mean_radius_km();
  for (int q = 0; q < 4; ++q) {
    const double direction = solution.azimuth_deg + 90.0 * q;
    const double length =
        q % 2 == 0 ? solution.semi_major_km : solution.semi_minor_km;
    double plat, plon;
    earth_.direct(at.lat, at.lon, length, direction, plat, plon);
    ++solution.geodesics;
    const double de = length * std::sin(direction * deg2rad);
    const double dn = length * std::cos(direction * deg2rad);
    for (std::size_t k = 0; k < obs_.size(); ++k) {
      const Observation& o = obs_[k];
      if (!o.used) continue;
      const Geodesic& g0 = at.geo[k];
      const Geodesic g = earth_.inverse(o.lat, o.lon, plat, plon);
      ++solution.geodesics;
      const Partials d = partials(g0, radius);
      const double bearing = wrap180(g.azimuth_1 - g0.azimuth_1) -
                             (d.bearing[0] * de + d.bearing[1] * dn);
      worst = std::max(worst, std::fabs(bearing) / o.sigma);
      if (o.has_time && at.params == 3) {
        const double time = slowness_ * (g.distance_km - g0.distance_km -
                                         (d.distance[0] * de + d.distance[1] * dn));
        worst = std::max(worst, std::fabs(time) / std::sqrt(at.var_t[k]));
      }
    }
  }
  return worst;
}

}  // namespace fix
