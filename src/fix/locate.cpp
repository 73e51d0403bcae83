// Notation: in the fit, the parameters are the source's displacement east
// and north (km) in the tangent frame at the current estimate, and the
// origin time t0 (s, from the event's first arrival time) when any arrival
// time takes part. A is the normal matrix J^T W J, g = J^T W r, r the
// residuals (observed minus computed), W the inverse variances.
//
// locate() takes these steps, each a function below:
//   observe       the detections as the fit sees them;
//   start         the crossing of two bearings that most bearings agree with;
//   screen_times  arrival times that contradict the others at the start are
//                 left out of the first fit;
//   settle        fit, set aside the detections that do not fit and take
//                 back those that do, fit again;
//   describe      the 95% ellipse and the origin time;
//   report        the residuals of every detection at the fix;
//   judge         the verdict: whether the linearisation holds over the
//                 ellipse.
// Each is linear in the number of detections n but the start, which is
// bounded: it crosses at most max_start_pairs pairs and scores each against
// at most max_misfit_bearings bearings.

#include "fix/locate.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

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
constexpr double inf = std::numeric_limits<double>::infinity();
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
/// The start's misfit is taken over at most this many bearings (a fixed
/// sample of those of a larger event).
constexpr std::size_t max_misfit_bearings = 256;
/// Studentised residual above which a detection is set aside.
constexpr double outlier_threshold = 3.5;
/// Standardised prediction residual up to which a set-aside detection is
/// taken back.
constexpr double readmit_threshold = 3.0;
/// A detection whose bearing misses the start by more than this many of its
/// standard deviations is left out of the first fit; so is one whose arrival
/// time contradicts the others' at the start by as many.
constexpr double start_gate = 5.0;
/// Rounds of setting aside and taking back: at most 2n + 2 (each detection
/// out and back once, and the last fit), and never more than this.
constexpr std::size_t max_rounds = 64;
/// Up to this many detections due to be set aside (or taken back) go one
/// at a time, the worst (best) first; of more, half go at once.
constexpr std::size_t max_single_changes = 8;
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
/// Floors of the standard deviations: an arrival time is never taken as
/// known better than to a millisecond (a pick error of 0 with a single
/// celerity would give infinite weights, and much less than this would
/// drown the bearings' part of the normal matrix in the times' rounding), a
/// bearing never better than to a nanodegree, below which the geodesic
/// azimuths' rounding is the residual.
constexpr double min_time_sd_s = 1e-3;
constexpr double min_sigma_deg = 1e-9;

// The 3 x 3 linear algebra of the fit. There are never more than three
// unknowns, so a few lines of Cholesky do what a matrix library would,
// without a dependency and with every operation in a known order.

// Cholesky factorisation of the symmetric n x n matrix m (n <= 3) into the
// lower triangle l; false when m is not positive definite, or so nearly not
// that a pivot has lost all but 13 digits of its column's diagonal (relative
// to each column's own scale: the bearings' and the origin time's entries
// differ by many orders of magnitude when their variances do).
bool cholesky(int n, const double m[3][3], double l[3][3]) {
  for (int j = 0; j < n; ++j) {
    if (!(m[j][j] > 0.0) || !std::isfinite(m[j][j])) return false;
    double d = m[j][j];
    for (int k = 0; k < j; ++k) d -= l[j][k] * l[j][k];
    if (!(d > 1e-13 * m[j][j])) return false;
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

// The Levenberg-Marquardt step: solves (a + lambda diag(a)) step = g for the
// first p unknowns; false when the damped matrix is not positive definite.
bool damped_step(int p, const double a[3][3], const double g[3],
                 double lambda, double step[3]) {
  double damped[3][3], l[3][3];
  for (int i = 0; i < p; ++i)
    for (int j = 0; j < p; ++j)
      damped[i][j] = a[i][j] + (i == j ? lambda * a[i][i] : 0.0);
  if (!cholesky(p, damped, l)) return false;
  cholesky_solve(p, l, g, step);
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

// The sites of an event's detections: detections at exactly the same
// coordinates share one (they give no crossing). Sorting by the coordinates'
// bit patterns is a total order, NaN or not.
struct Sites {
  std::vector<std::size_t> site;          // of each detection
  std::vector<std::size_t> order;         // detections sorted by site
  std::vector<std::size_t> begin, end;    // of each site, in `order`
  std::size_t pairs = 0;  // pairs of detections from different sites
};

template <class Observation>
Sites group_sites(const std::vector<Observation>& obs) {
  const std::size_t n = obs.size();
  auto key = [&](std::size_t i) {
    return std::pair(std::bit_cast<std::uint64_t>(obs[i].lat),
                     std::bit_cast<std::uint64_t>(obs[i].lon));
  };
  Sites s;
  s.order.resize(n);
  for (std::size_t i = 0; i < n; ++i) s.order[i] = i;
  std::sort(s.order.begin(), s.order.end(), [&](std::size_t a, std::size_t b) {
    return std::pair(key(a), a) < std::pair(key(b), b);
  });
  s.site.resize(n);
  for (std::size_t p = 0; p < n; ++p) {
    if (p == 0 || key(s.order[p]) != key(s.order[p - 1])) {
      if (p > 0) s.end.push_back(p);
      s.begin.push_back(p);
    }
    s.site[s.order[p]] = s.begin.size() - 1;
  }
  if (n > 0) s.end.push_back(n);
  for (std::size_t k = 0; k < s.begin.size(); ++k) {
    const std::size_t size = s.end[k] - s.begin[k];
    s.pairs += size * (n - size);
  }
  s.pairs /= 2;
  return s;
}

// splitmix64: a fixed stream of pseudo-random numbers, the same on every
// machine, so that the sample of pairs and with it the start are too.
std::uint64_t next_random(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9e3779b97f4a7c15u);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  return z ^ (z >> 31);
}

// The pairs (i < j, ascending) of detections from different sites crossed
// for the start: all of them when there are at most max_start_pairs, else
// max_start_pairs drawn at random (a detection, then one from another site),
// less the repeats.
std::vector<std::pair<std::size_t, std::size_t>> start_pairs(const Sites& s) {
  const std::size_t n = s.site.size();
  std::vector<std::pair<std::size_t, std::size_t>> pairs;
  if (s.pairs <= max_start_pairs) {
    pairs.reserve(s.pairs);
    if (s.pairs > 0)
      for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = i + 1; j < n; ++j)
          if (s.site[i] != s.site[j]) pairs.emplace_back(i, j);
    return pairs;
  }
  pairs.reserve(max_start_pairs);
  std::uint64_t state = 0;
  for (std::size_t k = 0; k < max_start_pairs; ++k) {
    const std::size_t i = next_random(state) % n;
    const std::size_t lo = s.begin[s.site[i]], hi = s.end[s.site[i]];
    std::size_t p = next_random(state) % (n - (hi - lo));
    if (p >= lo) p += hi - lo;
    pairs.push_back(std::minmax(i, s.order[p]));
  }
  std::sort(pairs.begin(), pairs.end());
  pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
  return pairs;
}

// The detections whose bearings score the start's crossings: none (meaning
// all) up to max_misfit_bearings, else that many drawn at random (evenly
// spaced ones would see a single station when the input cycles through the
// stations with a period that divides the spacing).
std::vector<std::size_t> misfit_sample(std::size_t n) {
  std::vector<std::size_t> sample;
  if (n <= max_misfit_bearings) return sample;
  sample.reserve(max_misfit_bearings);
  std::uint64_t state = 1;
  for (std::size_t k = 0; k < max_misfit_bearings; ++k)
    sample.push_back(next_random(state) % n);
  std::sort(sample.begin(), sample.end());
  return sample;
}

// How many of `due` detections due to be set aside, or taken back, go in
// one round.
std::size_t batch(std::size_t due) {
  return due <= max_single_changes ? 1 : due / 2;
}

// The settings' first problem, "" when they are in range.
std::string settings_problem(const Settings& s) {
  if (!(s.sigma_deg > 0.0) || !std::isfinite(s.sigma_deg))
    return "the bearing standard deviation must be positive";
  if (!(s.celerity_min > 0.0) || !(s.celerity_max >= s.celerity_min) ||
      !std::isfinite(s.celerity_max))
    return "the celerities must satisfy 0 < MIN <= MAX";
  if (!(s.pick_error_s >= 0.0) || !std::isfinite(s.pick_error_s))
    return "the pick error must not be negative";
  if (s.pick_error_s == 0.0 && s.celerity_min == s.celerity_max)
    return "with a single celerity the pick error must be positive";
  if (s.ellipsoid < 1 || s.ellipsoid > 25)
    return "the ellipsoid number must be 1 to 25";
  return "";
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

// The start: a crossing of two bearings on the sphere of geocentric
// latitudes, as a geographic position and as the sphere's unit vector, with
// its uncertainty.
struct Locator::Start {
  double lat = nan, lon = nan;  // geographic, degrees
  double gc_lat = nan;          // geocentric latitude, degrees
  Vec3 unit{};
  double sd_km = nan;  // standard deviation of the crossing, east and north
                       // in quadrature, km
};

Locator::Locator(const Settings& settings)
    : settings_(settings),
      invalid_(settings_problem(settings)),
      earth_(settings.ellipsoid) {
  const double s_lo = 1.0 / settings.celerity_max;
  const double s_hi = 1.0 / settings.celerity_min;
  // Slowness uniform between the two bounds: its mean and its standard
  // deviation (width over sqrt(12)).
  slowness_ = 0.5 * (s_lo + s_hi);
  slowness_sd_ = (s_hi - s_lo) / std::sqrt(12.0);
}

// Variance of the travel time over `distance_km` (s^2): the pick error and
// the spread of the slowness over the distance, in quadrature.
double Locator::time_variance(double distance_km) const {
  const double spread = distance_km * slowness_sd_;
  return std::max(settings_.pick_error_s * settings_.pick_error_s +
                      spread * spread,
                  min_time_sd_s * min_time_sd_s);
}

Solution Locator::locate(const Event& event) {
  Solution solution;
  const std::size_t n = event.detections.size();
  solution.detections.resize(n);
  if (!invalid_.empty()) {
    solution.reason = "settings out of range: " + invalid_;
    return solution;
  }
  const double t_ref = observe(event);
  if (n < 2) {
    solution.reason = n == 0 ? "no usable detection"
                             : "only one usable detection";
    if (event.refused)
      solution.reason += "; " + std::to_string(event.refused) +
                         " refused as bad input";
    return solution;
  }
  Start s;
  if (!start(solution, s)) {
    solution.reason =
        "no two bearings from different sites cross in front of both "
        "stations within a quarter circle";
    return solution;
  }
  screen_times(s);
  Trial at;
  double cov[3][3];
  if (!settle(event, s, at, cov, solution)) return solution;
  describe(at, cov, t_ref, solution);
  report(at, solution);
  judge(at, solution);
  return solution;
}

// The detections as the fit sees them, all used; returns the event's first
// arrival time (s since 1970, NaN without any), from which the fit counts.
double Locator::observe(const Event& event) {
  obs_.clear();
  obs_.reserve(event.detections.size());
  double t_ref = nan;
  for (const Detection& d : event.detections) {
    if (d.has_time && !std::isfinite(t_ref)) t_ref = d.time;
    Observation o;
    o.lat = d.latitude;
    o.lon = d.longitude;
    o.baz = wrap360(d.back_azimuth);
    o.sigma = std::max(d.sigma > 0.0 ? d.sigma : settings_.sigma_deg,
                       min_sigma_deg);
    o.has_time = d.has_time;
    o.t = d.has_time ? d.time - t_ref : 0.0;
    o.used = true;
    o.gc_lat = convlat_geographic2geocentric(d.latitude);
    o.unit = unit_vector(o.gc_lat, d.longitude);
    o.frame = local_frame(o.gc_lat, d.longitude);
    obs_.push_back(o);
  }
  return t_ref;
}

// The start: of the crossings in front of both stations and within a
// quarter circle of each, the one with the least robust misfit over the
// bearings (squared normalised residuals capped at `robust_cap`). The
// bearings that miss it by more than `start_gate` are set aside. False when
// no pair gives such a crossing.
bool Locator::start(Solution& solution, Start& s) {
  const double min_arc = min_station_km / earth_.mean_radius_km() * rad2deg;
  const Sites sites = group_sites(obs_);
  const auto pairs = start_pairs(sites);
  solution.pairs = sites.pairs;
  solution.pairs_crossed = pairs.size();
  const std::vector<std::size_t> sample = misfit_sample(obs_.size());
  double best = inf;
  for (const auto& [i, j] : pairs) {
    double elat, elon, sd_km;
    Vec3 x;
    if (!cross(i, j, min_arc, elat, elon, sd_km, x)) continue;
    const double misfit = start_misfit(x, min_arc, sample);
    const double glat = convlat_geocentric2geographic(elat);
    solution.crossings.push_back({i, j, {wrap180(elon), glat}});
    if (misfit < best) {
      best = misfit;
      s.lat = glat;
      s.lon = wrap180(elon);
      s.gc_lat = elat;
      s.unit = x;
      s.sd_km = sd_km;
    }
  }
  if (!(best < inf)) return false;
  for (Observation& o : obs_) {
    const double off =
        wrap180(o.baz - sphere_azimuth(o.frame, s.unit)) / o.sigma;
    o.used = std::fabs(off) <= start_gate &&
             arc_degrees(o.unit, s.unit) > min_arc;
  }
  return true;
}

// The crossing of the bearings of detections i and j on the sphere:
// geocentric latitude and longitude (degrees), its standard deviations
// east and north in quadrature (km) and its unit vector. False when
// the stations share a site or the crossing is not usable: not finite,
// behind a station, beyond a quarter circle or within `min_arc` (degrees)
// of one.
bool Locator::cross(std::size_t i, std::size_t j, double min_arc,
                    double& elat, double& elon, double& sd_km,
                    Vec3& x) const {
  const Observation& a = obs_[i];
  const Observation& b = obs_[j];
  const double del3 = arc_degrees(a.unit, b.unit);
  if (!(del3 > same_site_deg)) return false;
  const double ep1 = sphere_azimuth(a.frame, b.unit);
  const double ep2 = sphere_azimuth(b.frame, a.unit);
  double elat_sd = nan, elon_sd = nan;
  double dismin = 3.141592653589793;
  int ierr = 0;
  elat = elon = nan;
  hyposat_cross(a.gc_lat, a.lon, a.baz, a.sigma, b.baz, b.sigma, del3, ep1,
                ep2, elat, elat_sd, elon, elon_sd, dismin, 0, ierr);
  if (ierr == 10 || ierr == 1 || ierr == 2) return false;
  if (!std::isfinite(elat) || !std::isfinite(elon)) return false;
  x = unit_vector(elat, elon);
  for (const Observation* o : {&a, &b}) {
    const double d = arc_degrees(o->unit, x);
    const double off = wrap180(o->baz - sphere_azimuth(o->frame, x));
    if (!(d > min_arc && d <= max_crossing_deg && std::fabs(off) < 90.0))
      return false;
  }
  sd_km = std::hypot(elat_sd, elon_sd * std::cos(elat * deg2rad)) * deg2rad *
          earth_.mean_radius_km();
  return true;
}

// The robust misfit of the point `x` (a unit vector): over every bearing,
// or over those of `sample` when it is not empty.
double Locator::start_misfit(const Vec3& x, double min_arc,
                             const std::vector<std::size_t>& sample) const {
  double misfit = 0.0;
  auto add = [&](const Observation& o) {
    const double off = wrap180(o.baz - sphere_azimuth(o.frame, x)) / o.sigma;
    const bool on_station = !(arc_degrees(o.unit, x) > min_arc);
    misfit += on_station ? robust_cap : std::min(off * off, robust_cap);
  };
  if (sample.empty())
    for (const Observation& o : obs_) add(o);
  else
    for (std::size_t k : sample) add(obs_[k]);
  return misfit;
}

// Arrival times that contradict the others at the start are left out of
// the first fit, as bearings that miss it are: one wrong date or time zone
// would otherwise drag the least squares across the globe, where it does
// not converge. At the start, each time of a used detection implies an
// origin time, uncertain by the travel time's variance and by what the
// start's own uncertainty (that of the crossing, taken in every direction)
// passes on. The times that agree with the median origin time to within
// `start_gate` of their standard deviations give a weighted mean; a time
// whose origin differs from that mean by more than `start_gate` standard
// deviations of the difference is set aside. This takes three times (of two
// that disagree, either may be the wrong one) and leaves at least two
// detections. On the sphere: no geodesic is solved.
void Locator::screen_times(const Start& s) {
  struct Implied {
    double origin, var;  // s, s^2
    std::size_t k;
  };
  std::size_t used = 0, timed = 0;
  for (const Observation& o : obs_) {
    used += o.used;
    timed += o.used && o.has_time;
  }
  if (timed < 3 || !std::isfinite(s.sd_km)) return;
  const double radius = earth_.mean_radius_km();
  const double var_start = slowness_ * slowness_ * s.sd_km * s.sd_km;
  std::vector<Implied> implied;
  implied.reserve(timed);
  for (std::size_t k = 0; k < obs_.size(); ++k) {
    const Observation& o = obs_[k];
    if (!o.used || !o.has_time) continue;
    const double km = arc_degrees(o.unit, s.unit) * deg2rad * radius;
    const double origin = o.t - slowness_ * km;
    if (std::isfinite(origin))
      implied.push_back({origin, time_variance(km) + var_start, k});
  }
  if (implied.size() < 3) return;
  auto mid = implied.begin() + (implied.size() - 1) / 2;
  std::nth_element(implied.begin(), mid, implied.end(),
                   [](const Implied& x, const Implied& y) {
                     return x.origin < y.origin;
                   });
  const double median = mid->origin;
  double sw = 0.0, swo = 0.0;
  for (const Implied& i : implied)
    if (std::fabs(i.origin - median) <= start_gate * std::sqrt(i.var)) {
      sw += 1.0 / i.var;
      swo += (i.origin - median) / i.var;
    }
  const double mean = median + swo / sw, var_mean = 1.0 / sw;
  std::vector<std::size_t> wild;
  for (const Implied& i : implied) {
    const double sd = std::sqrt(i.var + var_mean);
    if (!(std::fabs(i.origin - mean) <= start_gate * sd)) wild.push_back(i.k);
  }
  if (used - wild.size() < 2) return;
  for (std::size_t k : wild) obs_[k].used = false;
}

// The outlier rounds: fit, then set aside the used detections that fit
// worst or take back the set-aside ones that fit best (see review), and fit
// again, until nothing changes. On success `at` holds the last fit and
// `cov` its covariance; else the solution says why.
bool Locator::settle(const Event& event, const Start& s, Trial& at,
                     double cov[3][3], Solution& solution) {
  double lat = s.lat, lon = s.lon, t0 = 0.0;
  const std::size_t rounds = std::min(2 * obs_.size() + 2, max_rounds);
  for (std::size_t round = 0;; ++round) {
    std::size_t slid = npos;
    if (!fit(lat, lon, t0, at, slid, solution)) {
      if (slid == npos) {
        solution.reason = "the fit did not converge";
      } else {
        const std::string& name = event.detections[slid].station;
        solution.reason = "the fit slides onto station " +
                          (name.empty() ? "#" + std::to_string(slid + 1)
                                        : name) +
                          ", where its azimuth is undefined";
      }
      return false;
    }
    double a[3][3], g[3];
    const int rows = at.normal_equations(*this, a, g);
    if (!spd_inverse(at.params, a, cov)) {
      solution.reason = "the bearings do not constrain the source";
      return false;
    }
    if (round + 1 == rounds) return true;  // the last fit stands as it is
    switch (review(at, cov, rows, solution)) {
      case Review::settled:
        return true;
      case Review::bearing_away:
        solution.reason = "a bearing points away from the fix";
        return false;
      case Review::changed:
        break;
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
    double a[3][3], g[3], step[3] = {0, 0, 0};
    at.normal_equations(*this, a, g);
    if (!damped_step(at.params, a, g, lambda, step)) {
      lambda *= 10.0;
      if (lambda > 1e12) return false;
      continue;
    }
    double length = std::hypot(step[0], step[1]);
    const double dt = at.params == 3 ? step[2] : 0.0;
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
    trial.var_t[i] = time_variance(g.distance_km);
    if (o.has_time) trial.params = 3;
  }
  trial.compute_cost(*this, weights ? *weights : trial);
  return std::isfinite(trial.cost);
}

// One review of the fit `at` (covariance `cov`, `rows` residuals). When a
// used detection's studentised residual exceeds `outlier_threshold` (a
// bearing pointing away from the fix always does), the worst of them is
// set aside, leaving at least two bearings; else the set-aside detection
// whose prediction residual is the least, if at most `readmit_threshold`,
// is taken back. One at a time, the fit after each change shows whether the
// next is still due: a wild detection inflates the residuals of good ones.
// When more than `max_single_changes` are due (a large event with much
// clutter), the worst (best) half of them go at once, so that the number of
// rounds grows as the logarithm of the number of detections.
Locator::Review Locator::review(const Trial& at, const double cov[3][3],
                                int rows, Solution& solution) {
  struct Scored {
    double score;
    std::size_t k;
  };
  std::vector<Scored> wild, back;
  std::size_t bearings = 0;
  for (std::size_t k = 0; k < obs_.size(); ++k) {
    const Observation& o = obs_[k];
    if (o.used) {
      ++bearings;
      double score = 0.0;
      if (std::fabs(bearing_residual(o, at.geo[k])) >= 90.0)
        score = inf;  // points away
      else if (rows - at.params >= 2)
        score = standardised(k, at, cov, at.geo[k]);
      if (score > outlier_threshold) wild.push_back({score, k});
    } else {
      const Geodesic gd = earth_.inverse(o.lat, o.lon, at.lat, at.lon);
      ++solution.geodesics;
      const double score = standardised(k, at, cov, gd);
      if (score <= readmit_threshold) back.push_back({score, k});
    }
  }
  if (!wild.empty()) {
    if (bearings <= 2) return Review::bearing_away;
    // Worst first; of equals, the first in input order.
    std::sort(wild.begin(), wild.end(), [](const Scored& x, const Scored& y) {
      return x.score > y.score || (x.score == y.score && x.k < y.k);
    });
    const std::size_t count = std::min(batch(wild.size()), bearings - 2);
    for (std::size_t i = 0; i < count; ++i) obs_[wild[i].k].used = false;
    return Review::changed;
  }
  if (!back.empty()) {
    // Best first; of equals, the last in input order.
    std::sort(back.begin(), back.end(), [](const Scored& x, const Scored& y) {
      return x.score < y.score || (x.score == y.score && x.k > y.k);
    });
    const std::size_t count = batch(back.size());
    for (std::size_t i = 0; i < count; ++i) obs_[back[i].k].used = true;
    return Review::changed;
  }
  return Review::settled;
}

// The fix, its 95% ellipse from the east-north block of `cov`, and the
// origin time (s since 1970, `t_ref` the event's first arrival time) with
// its standard deviation when the fit has one.
void Locator::describe(const Trial& at, const double cov[3][3], double t_ref,
                       Solution& solution) const {
  solution.latitude = at.lat;
  solution.longitude = at.lon;
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
    solution.origin_time = t_ref + at.t0;
    solution.origin_sigma_s = std::sqrt(cov[2][2]);
  }
}

// Every detection's residuals and distance at the fix, and whether it was
// used.
void Locator::report(const Trial& at, Solution& solution) const {
  for (std::size_t k = 0; k < obs_.size(); ++k) {
    const Observation& o = obs_[k];
    DetectionFit& d = solution.detections[k];
    Geodesic gd;
    if (o.used) {
      gd = at.geo[k];
    } else {
      gd = earth_.inverse(o.lat, o.lon, at.lat, at.lon);
      ++solution.geodesics;
    }
    d.used = o.used;
    d.distance_km = gd.distance_km;
    d.residual_deg = bearing_residual(o, gd);
    if (o.has_time && solution.has_origin)
      d.residual_s = time_residual(o, gd, at.t0);
  }
}

// ok, or ill-conditioned when the linearisation does not hold over the
// ellipse.
void Locator::judge(const Trial& at, Solution& solution) const {
  solution.status = Status::ok;
  const double departure = nonlinearity(at, solution);
  if (departure <= max_nonlinearity) return;
  solution.status = Status::ill_conditioned;
  char reason[160];
  std::snprintf(reason, sizeof reason,
                "the linearised ellipse is not to be trusted: at its edge a "
                "detection departs from its linear prediction by %.1f "
                "standard deviations",
                departure);
  solution.reason = reason;
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
    const double var_t = time_variance(gd.distance_km);
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
