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
      const double apart = angle(c.sites[a].p, c.sites[b].p);
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
  // Candidates holding each arrival (this block's), to skip covered pairs.
  std::vector<std::vector<std::uint32_t>> holding(c.arrivals.size());
  std::set<std::vector<std::uint32_t>> seen;
  auto first = std::lower_bound(
      c.arrivals.begin(), c.arrivals.end(), from,
      [](const Arrival& a, double t) { return a.time < t; });
  for (auto i = static_cast<std::uint32_t>(first - c.arrivals.begin());
       i < c.arrivals.size() && c.arrivals[i].time < to; ++i) {
    const Arrival& a = c.arrivals[i];
    for (std::uint32_t j = i + 1; j < c.arrivals.size(); ++j) {
      const Arrival& b = c.arrivals[j];
      const double dt = b.time - a.time;
      if (dt > longest) break;
      if (a.site == b.site || dt > window[a.site * n + b.site]) continue;
      const auto& hi = holding[i];
      const auto& hj = holding[j];
      bool covered = false;
      for (std::uint32_t x : hi)
        if (std::find(hj.begin(), hj.end(), x) != hj.end()) covered = true;
      if (covered) continue;
      Candidate cand;
      if (!fitter.pair(i, j, cand.h) || !fitter.grow(cand.h, nullptr)) continue;
      if (!seen.insert(cand.h.members).second) continue;
      cand.first_time = c.arrivals[cand.h.members.front()].time;
      const auto id = static_cast<std::uint32_t>(out.size());
      for (std::uint32_t k : cand.h.members) holding[k].push_back(id);
      out.push_back(std::move(cand));
    }
  }
  return out;
}

}  // namespace assoc
