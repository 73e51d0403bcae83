#include "assoc/hypothesis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace assoc {

namespace {

/// Gate of a prediction, standard deviations (of the observation and of
/// the hypothesis's uncertainty together): an arrival beyond it is not
/// considered for the hypothesis.
constexpr double gate = 3.5;
/// A member whose bearing or time misses the fit by more than this many
/// standard deviations is set aside: there, clutter and the detections of
/// neighbouring events are about as common as the event's own (on the
/// benchmark's worlds, 2 rather than 3.5 raises the share of right pairs
/// by 2 to 3 points and loses no event).
constexpr double misfit_gate = 2.0;
/// Least contribution of a member: a detection must be e^1.25 (3.5) times
/// likelier under the event than as clutter, to allow for the chance that
/// an array does not hear an event at all (on the benchmark's worlds, 1.25
/// rather than 1 raises the share of right pairs by a point or two at the
/// same recall). A second arrival at one array (a second phase) must bring
/// e times more again, being the rarer case.
constexpr double min_contribution = 1.25;
constexpr double second_arrival = 1.0;
/// An array hears a source with a chance taken to fall linearly with
/// distance, to none at the farthest distance: a member farther than half
/// of it must bring the log of the odds against its array hearing the
/// event as further evidence (none nearer). Capped at this fraction of
/// the farthest distance.
constexpr double max_reach_fraction = 0.999;
/// Bearings crossing at less than this angle give no seed, degrees: their
/// crossing is too long along them to start from.
constexpr double min_crossing_deg = 3.0;
/// Iterations of the fit, halvings of a step, and the longest step (km).
constexpr int max_iterations = 12;
constexpr int max_halvings = 6;
constexpr double max_step_km = 2000.0;
/// The fit has converged when a step is shorter than this (km) and moves
/// the origin time by less than `time_tolerance_s`.
constexpr double step_tolerance_km = 0.01;
constexpr double time_tolerance_s = 0.01;
/// Least distance of a source from a site, radians (about 6 m): nearer, the
/// bearing is undefined.
constexpr double min_arc = 1e-6;
/// Arrivals added to one hypothesis at most.
constexpr int max_additions = 64;
constexpr double ln_2pi = 1.8378770664093453;
constexpr Id none = static_cast<Id>(-1);

using geo::deg2rad;
using geo::rad2deg;
using geo::wrap180;

// Solves the symmetric positive definite 3x3 system a x = b; false when a
// is not positive definite.
bool solve3(const double a[3][3], const double b[3], double x[3]) {
  double l[3][3] = {};
  for (int j = 0; j < 3; ++j) {
    double d = a[j][j];
    for (int k = 0; k < j; ++k) d -= l[j][k] * l[j][k];
    if (!(d > 1e-12 * std::fabs(a[j][j])) || !(d > 0.0)) return false;
    l[j][j] = std::sqrt(d);
    for (int i = j + 1; i < 3; ++i) {
      double s = a[i][j];
      for (int k = 0; k < j; ++k) s -= l[i][k] * l[j][k];
      l[i][j] = s / l[j][j];
    }
  }
  double y[3];
  for (int i = 0; i < 3; ++i) {
    double s = b[i];
    for (int k = 0; k < i; ++k) s -= l[i][k] * y[k];
    y[i] = s / l[i][i];
  }
  for (int i = 2; i >= 0; --i) {
    double s = y[i];
    for (int k = i + 1; k < 3; ++k) s -= l[k][i] * x[k];
    x[i] = s / l[i][i];
  }
  return true;
}

bool invert3(const double a[3][3], double inv[3][3]) {
  for (int c = 0; c < 3; ++c) {
    double e[3] = {0, 0, 0}, x[3];
    e[c] = 1.0;
    if (!solve3(a, e, x)) return false;
    for (int r = 0; r < 3; ++r) inv[r][c] = x[r];
  }
  return true;
}

double quadratic(const double j[3], const double m[3][3]) {
  double q = 0.0;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) q += j[r] * m[r][c] * j[c];
  return q;
}

// The geometry of a site seen from a source x: distance (radians), bearing
// (degrees), and the derivatives of the bearing (degrees per km) and of the
// travel distance (km per km) with respect to moving x east and north.
struct Seen {
  double arc, bearing;
  double jb[2], jd[2];
};

Seen seen(const Site& s, const Vec3& x, const Vec3& east, const Vec3& north,
          double radius_km) {
  Seen v;
  const double e = dot(x, s.east), n = dot(x, s.north);
  const double sind = std::max(std::hypot(e, n), min_arc);
  v.arc = std::atan2(sind, dot(x, s.p));
  v.bearing = std::atan2(e, n) * rad2deg;
  // d(bearing)/dx = (n E - e N) / (e^2 + n^2), radians per radian.
  const Vec3 gb = (1.0 / (sind * sind)) * (n * s.east - e * s.north);
  v.jb[0] = dot(gb, east) / radius_km * rad2deg;
  v.jb[1] = dot(gb, north) / radius_km * rad2deg;
  // d(arc) = -(p . dx) / sin(arc).
  v.jd[0] = -dot(s.p, east) / sind;
  v.jd[1] = -dot(s.p, north) / sind;
  return v;
}

// The point `de` km east and `dn` km north of `x` along the great circle.
Vec3 moved(const Vec3& x, double de, double dn, double radius_km) {
  const auto [east, north] = geo::local_frame(x);
  const double length = std::hypot(de, dn);
  if (!(length > 0.0)) return x;
  const Vec3 dir = (1.0 / length) * (de * east + dn * north);
  const double phi = length / radius_km;
  return normalized(std::cos(phi) * x + std::sin(phi) * dir);
}

}  // namespace

Fitter::Fitter(const Catalogue& catalogue, const Model& model,
               const Options& options)
    : c_(catalogue),
      m_(model),
      o_(options),
      sin2_min_crossing_(std::sin(min_crossing_deg * deg2rad) *
                         std::sin(min_crossing_deg * deg2rad)) {}

bool Fitter::large_enough(const std::vector<Id>& members) const {
  if (members.size() < o_.min_detections) return false;
  std::vector<std::uint32_t> sites;
  for (Id a : members) {
    const std::uint32_t s = c_.at(a).site;
    if (std::find(sites.begin(), sites.end(), s) == sites.end()) {
      sites.push_back(s);
      if (sites.size() >= o_.min_arrays) return true;
    }
  }
  return sites.size() >= o_.min_arrays;
}

Fitter::SitePrediction Fitter::predict(const Hypothesis& h, const Site& s,
                                       bool uncertain) const {
  const auto [east, north] = geo::local_frame(h.x);
  const Seen v = seen(s, h.x, east, north, m_.radius_km);
  SitePrediction p;
  p.bearing = v.bearing;
  p.arc = v.arc;
  p.km = v.arc * m_.radius_km;
  p.t0 = h.t0;
  p.vb = p.vt = 0.0;
  if (uncertain) {
    const double jb[3] = {v.jb[0], v.jb[1], 0.0};
    const double jt[3] = {m_.slowness * v.jd[0], m_.slowness * v.jd[1], 1.0};
    p.vb = quadratic(jb, h.cov);
    p.vt = quadratic(jt, h.cov);
  }
  return p;
}

double Fitter::far(double arc) const {
  const double f = std::min(arc / m_.max_arc, max_reach_fraction);
  return std::max(0.0, std::log(f / (1.0 - f)));
}

double Fitter::contribution(const Arrival& a, const SitePrediction& p) const {
  const double rb = wrap180(a.bearing - p.bearing);
  const double vb = a.sigma * a.sigma + p.vb;
  return -0.5 * (rb * rb / vb + std::log(vb) + ln_2pi) +
         m_.ln_travel(a.time - p.t0, p.km, p.vt) - a.ln_clutter;
}

double Fitter::misfit(const Hypothesis& h, const Vec3& x, double t0,
                      double (*a)[3], double* g) const {
  const double r = m_.radius_km;
  const auto [east, north] = geo::local_frame(x);
  if (a)
    for (int i = 0; i < 3; ++i) {
      g[i] = 0.0;
      for (int j = 0; j < 3; ++j) a[i][j] = 0.0;
    }
  double cost = 0.0;
  for (Id k : h.members) {
    const Arrival& o = c_.at(k);
    const Seen v = seen(c_.sites[o.site], x, east, north, r);
    const double rb = wrap180(o.bearing - v.bearing);
    const double wb = 1.0 / (o.sigma * o.sigma);
    const double km = v.arc * r, travel = o.time - t0;
    const double ln_density = m_.ln_travel(travel, km, 0.0);
    cost += rb * rb * wb - 2.0 * ln_density;
    if (!a) continue;
    const double jb[3] = {v.jb[0], v.jb[1], 0.0};
    for (int i = 0; i < 3; ++i) {
      g[i] += wb * jb[i] * rb;
      for (int j = 0; j < 3; ++j) a[i][j] += wb * jb[i] * jb[j];
    }
    // The time as each phase has it, weighted by the share of the density
    // that phase holds at the current point.
    for (const Model::Component& k : m_.components) {
      const double vt = m_.phase_var(k, km);
      const double rt = travel - km * k.slowness;
      const double share = std::exp(
          k.ln_weight - 0.5 * (rt * rt / vt + std::log(vt) + ln_2pi) -
          ln_density);
      if (!(share > 1e-12)) continue;
      const double wt = share / vt;
      const double jt[3] = {k.slowness * v.jd[0], k.slowness * v.jd[1], 1.0};
      for (int i = 0; i < 3; ++i) {
        g[i] += wt * jt[i] * rt;
        for (int j = 0; j < 3; ++j) a[i][j] += wt * jt[i] * jt[j];
      }
    }
  }
  return cost;
}

// Gauss-Newton steps, each halved until it does not raise the misfit; the
// variances of the times are those of the point a step starts from.
bool Fitter::fit(Hypothesis& h) const {
  if (h.members.size() < 2) return false;
  double a[3][3], g[3];
  double cost = misfit(h, h.x, h.t0, a, g);
  for (int it = 0; it < max_iterations; ++it) {
    double damped[3][3], step[3];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        damped[i][j] = a[i][j] + (i == j ? 1e-9 * a[i][i] : 0.0);
    if (!solve3(damped, g, step)) return false;
    double length = std::hypot(step[0], step[1]);
    if (length > max_step_km) {
      for (int i = 0; i < 3; ++i) step[i] *= max_step_km / length;
      length = max_step_km;
    }
    if (length < step_tolerance_km && std::fabs(step[2]) < time_tolerance_s)
      break;
    bool taken = false;
    for (int half = 0; half < max_halvings && !taken; ++half) {
      const Vec3 x = moved(h.x, step[0], step[1], m_.radius_km);
      const double t0 = h.t0 + step[2];
      if (misfit(h, x, t0, nullptr, nullptr) <= cost) {
        h.x = x;
        h.t0 = t0;
        taken = true;
      } else {
        for (double& s : step) s *= 0.5;
      }
    }
    if (!taken) break;
    cost = misfit(h, h.x, h.t0, a, g);
  }
  if (!invert3(a, h.cov) || !std::isfinite(h.t0)) return false;
  // Every member within reach of the source.
  for (Id k : h.members)
    if (dot(c_.sites[c_.at(k).site].p, h.x) < m_.cos_max_arc) return false;
  return true;
}

bool Fitter::cross_within_reach(Id i, Id j, Vec3& x,
                                double& sin_crossing) const {
  const Arrival& a = c_.at(i);
  const Arrival& b = c_.at(j);
  if (a.site == b.site) return false;
  // The signs and ratios below need no unit vector: the root waits until
  // the crossing has passed them.
  x = cross(a.normal, b.normal);
  const double n2 = dot(x, x);
  if (!(n2 > sin2_min_crossing_)) return false;
  if (dot(x, a.along) < 0.0) x = -1.0 * x;
  // In front of both, within reach of both (on a bearing's great circle,
  // the cosine of the distance is the dot product with the site).
  if (!(dot(x, b.along) > 0.0)) return false;
  sin_crossing = std::sqrt(n2);
  const double reach = m_.cos_max_arc * sin_crossing;
  if (!(dot(x, c_.sites[a.site].p) >= reach &&
        dot(x, c_.sites[b.site].p) >= reach))
    return false;
  x = (1.0 / sin_crossing) * x;
  return true;
}

bool Fitter::pair(Id i, Id j, Hypothesis& h) const {
  Vec3 x;
  double sin_crossing;
  if (!cross_within_reach(i, j, x, sin_crossing)) return false;
  const Arrival& a = c_.at(i);
  const Arrival& b = c_.at(j);
  const Site& sa = c_.sites[a.site];
  const Site& sb = c_.sites[b.site];
  const double arc_a = std::atan2(dot(x, a.along), dot(x, sa.p));
  const double arc_b = std::atan2(dot(x, b.along), dot(x, sb.p));
  // Origin times from each, with the variance of the travel time and that
  // of the crossing's place along the bearings.
  const double r = m_.radius_km;
  const double t0a = a.time - arc_a * r * m_.slowness;
  const double t0b = b.time - arc_b * r * m_.slowness;
  const double va = m_.time_var(arc_a), vb = m_.time_var(arc_b);
  const double along_km =
      std::max(a.sigma * arc_a, b.sigma * arc_b) * deg2rad * r / sin_crossing;
  const double vx = 2.0 * (m_.slowness * along_km) * (m_.slowness * along_km);
  const double dt = t0a - t0b;
  if (dt * dt > gate * gate * (va + vb + vx)) return false;
  h = Hypothesis();
  h.x = x;
  h.t0 = (t0a / va + t0b / vb) / (1.0 / va + 1.0 / vb);
  h.members = {std::min(i, j), std::max(i, j)};
  if (!fit(h)) return false;
  for (Id k : h.members) {
    const Arrival& o = c_.at(k);
    if (!(contribution(o, predict(h, c_.sites[o.site], false)) >
          min_contribution))
      return false;
  }
  return true;
}

void Fitter::best_addition(const Hypothesis& h, const Claims* claims,
                           Id& best, double& best_value) const {
  best = none;
  best_value = min_contribution;
  for (std::size_t s = 0; s < c_.sites.size(); ++s) {
    const Site& site = c_.sites[s];
    if (dot(site.p, h.x) < m_.cos_max_arc) continue;
    const SitePrediction p = predict(h, site, true);
    // The times within the gate of some phase.
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const Model::Component& k : m_.components) {
      const double half = gate * std::sqrt(m_.phase_var(k, p.km) + p.vt);
      lo = std::min(lo, p.t0 + p.km * k.slowness - half);
      hi = std::max(hi, p.t0 + p.km * k.slowness + half);
    }
    const std::vector<double>& times = c_.site_times[s];
    auto it = std::lower_bound(times.begin(), times.end(), lo);
    for (; it != times.end() && *it <= hi; ++it) {
      const Id k = c_.by_site[s][it - times.begin()];
      if (claims && (*claims)[k]) continue;
      if (std::binary_search(h.members.begin(), h.members.end(), k) ||
          std::binary_search(h.banned.begin(), h.banned.end(), k))
        continue;
      const Arrival& o = c_.at(k);
      const double rb = wrap180(o.bearing - p.bearing);
      if (rb * rb > gate * gate * (o.sigma * o.sigma + p.vb)) continue;
      double value = contribution(o, p) - far(p.arc);
      for (Id m : h.members)
        if (c_.at(m).site == s) {
          value -= second_arrival;
          break;
        }
      // Ties go to the earlier arrival, whatever the order of the sites.
      if (value > best_value || (value == best_value && k < best)) {
        best_value = value;
        best = k;
      }
    }
  }
}

bool Fitter::grow(Hypothesis& h, const Claims* claims) const {
  for (int n = 0; n < max_additions; ++n) {
    Id k;
    double value;
    best_addition(h, claims, k, value);
    if (k == none) break;
    Hypothesis next = h;
    next.members.insert(
        std::upper_bound(next.members.begin(), next.members.end(), k), k);
    if (fit(next)) {
      h = std::move(next);
    } else {
      h.banned.insert(std::upper_bound(h.banned.begin(), h.banned.end(), k), k);
    }
  }
  return prune(h);
}

bool Fitter::settle(Hypothesis& h) const { return fit(h) && prune(h); }

// Sets aside, one at a time and refitting after each, the member with the
// largest misfit beyond the gate, or else the one of least contribution
// below the minimum; then scores what is left.
bool Fitter::prune(Hypothesis& h) const {
  for (;;) {
    if (!large_enough(h.members)) return false;
    std::size_t worst = h.members.size();
    double worst_z = misfit_gate, least = min_contribution;
    bool misfit = false;
    const std::vector<double> values = contributions(h);
    for (std::size_t i = 0; i < h.members.size(); ++i) {
      const Arrival& o = c_.at(h.members[i]);
      const SitePrediction p = predict(h, c_.sites[o.site], false);
      const double zb = std::fabs(wrap180(o.bearing - p.bearing)) / o.sigma;
      const double zt = m_.travel_z(o.time - p.t0, p.km);
      const double z = std::max(zb, zt);
      if (z > worst_z) {
        worst_z = z;
        worst = i;
        misfit = true;
      } else if (!misfit) {
        double value = values[i] - far(p.arc);
        // Not the strongest of its array: a second arrival.
        for (std::size_t j = 0; j < h.members.size(); ++j)
          if (j != i && c_.at(h.members[j]).site == o.site &&
              (values[j] > values[i] || (values[j] == values[i] && j < i))) {
            value -= second_arrival;
            break;
          }
        if (value < least) {
          least = value;
          worst = i;
        }
      }
    }
    if (worst == h.members.size()) break;
    h.members.erase(h.members.begin() + static_cast<std::ptrdiff_t>(worst));
    if (!large_enough(h.members) || !fit(h)) return false;
  }
  h.score = score(h);
  return true;
}

std::vector<double> Fitter::contributions(const Hypothesis& h) const {
  std::vector<double> v;
  for (Id k : h.members) {
    const Arrival& o = c_.at(k);
    v.push_back(contribution(o, predict(h, c_.sites[o.site], false)));
  }
  return v;
}

double Fitter::score(const Hypothesis& h) const {
  double sum = 0.0;
  for (Id k : h.members) {
    const Arrival& o = c_.at(k);
    sum += contribution(o, predict(h, c_.sites[o.site], false));
  }
  return sum;
}

}  // namespace assoc
