#include "assoc/candidates.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace assoc {

namespace {

// The longest time between two arrivals of one source at two sites: one at
// the farthest distance and the slowest, the other nearer by at most the
// sites' separation and the fastest (km, s/km). Negative: the sites are too
// far apart to hear one source.
std::vector<double> pair_windows(const Catalogue& c, const Model& m) {
  const std::size_t n = c.sites.size();
  std::vector<double> w(n * n);
  const double r = m.radius_km;
  const double slowest = m.slowness_max;
  const double fastest = 2.0 * m.slowness - m.slowness_max;
  for (std::size_t a = 0; a < n; ++a)
    for (std::size_t b = 0; b < n; ++b) {
      const double apart = geo::arc_radians(c.sites[a].p, c.sites[b].p);
      w[a * n + b] = apart > 2.0 * m.max_arc
                         ? -1.0
                         : m.max_arc * r * (slowest - fastest) +
                               std::min(apart, m.max_arc) * r * slowest +
                               4.0 * std::sqrt(m.pick_var);
    }
  return w;
}

}  // namespace

std::vector<Candidate> seed_candidates(const Catalogue& c, const Model& m,
                                       const Fitter& fitter, double from,
                                       double to) {
  std::vector<Candidate> out;
  const std::size_t n = c.sites.size();
  const std::vector<double> window = pair_windows(c, m);
  const double longest = *std::max_element(window.begin(), window.end());
  // The candidates holding each arrival of the window, to skip covered
  // pairs.
  std::vector<std::vector<std::size_t>> holding(c.end() - c.first());
  std::set<std::vector<Id>> seen;
  for (Id i = c.lower_bound(from); i < c.end() && c.at(i).time < to; ++i) {
    const Arrival& a = c.at(i);
    for (Id j = i + 1; j < c.end(); ++j) {
      const Arrival& b = c.at(j);
      const double dt = b.time - a.time;
      if (dt > longest) break;
      if (a.site == b.site || dt > window[a.site * n + b.site]) continue;
      Vec3 x;
      double sin_crossing;
      if (!fitter.cross_within_reach(i, j, x, sin_crossing)) continue;
      const auto& hi = holding[i - c.first()];
      const auto& hj = holding[j - c.first()];
      if (std::find_first_of(hi.begin(), hi.end(), hj.begin(), hj.end()) !=
          hi.end())
        continue;
      Candidate cand;
      if (!fitter.pair(i, j, cand.h) || !fitter.grow(cand.h, nullptr)) continue;
      if (!seen.insert(cand.h.members).second) continue;
      cand.first_time = c.at(cand.h.members.front()).time;
      for (Id k : cand.h.members) holding[k - c.first()].push_back(out.size());
      out.push_back(std::move(cand));
    }
  }
  return out;
}

}  // namespace assoc
