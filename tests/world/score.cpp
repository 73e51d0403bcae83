#include "world/score.h"

#include <GeographicLib/Geodesic.hpp>

#include <algorithm>
#include <map>
#include <set>

#include "fix/locate.h"

namespace world {

namespace {

// For each reported group: the true event it is attributed to (-1 when
// more than half of it is clutter), whether it is the main piece of that
// event (the one holding most of its detections), and whether more than
// half of it is that event's.
struct Matches {
  std::vector<int> event;
  std::vector<bool> main, mostly;
};

Matches match(const World& w,
              const std::vector<std::vector<std::size_t>>& groups) {
  Matches m;
  m.event.assign(groups.size(), -1);
  m.main.assign(groups.size(), false);
  m.mostly.assign(groups.size(), false);
  std::map<int, std::pair<long, std::size_t>> best;  // event -> (held, group)
  for (std::size_t g = 0; g < groups.size(); ++g) {
    std::map<int, long> count;
    for (std::size_t d : groups[g]) ++count[w.source[d]];
    const long size = static_cast<long>(groups[g].size());
    if (2 * count[-1] > size) continue;
    int e = -1;
    for (const auto& [k, n] : count)
      if (k >= 0 && (e < 0 || n > count[e])) e = k;
    if (e < 0) continue;
    m.event[g] = e;
    m.mostly[g] = 2 * count[e] > size;
    auto it = best.find(e);
    if (it == best.end() || count[e] > it->second.first) best[e] = {count[e], g};
  }
  for (const auto& [e, held] : best) m.main[held.second] = true;
  return m;
}

// Per true event: its detections, and the number of arrays they come from.
struct Truth {
  std::vector<std::vector<std::size_t>> detections;
  std::vector<std::size_t> arrays;
};

Truth truth(const World& w) {
  Truth t;
  t.detections.resize(w.sources.size());
  for (std::size_t d = 0; d < w.detections.size(); ++d)
    if (w.source[d] >= 0) t.detections[w.source[d]].push_back(d);
  for (const auto& ds : t.detections) {
    std::set<int> arrays;
    for (std::size_t d : ds) arrays.insert(w.array[d]);
    t.arrays.push_back(arrays.size());
  }
  return t;
}

}  // namespace

Score score(const World& w, const std::vector<std::vector<std::size_t>>& groups,
            std::size_t min_detections, std::size_t min_arrays) {
  Score s;
  const Truth t = truth(w);
  const Matches m = match(w, groups);
  std::vector<bool> counted(w.sources.size()), found(w.sources.size());
  for (std::size_t e = 0; e < w.sources.size(); ++e) {
    counted[e] = t.detections[e].size() >= min_detections &&
                 t.arrays[e] >= min_arrays;
    if (!counted[e]) continue;
    const long n = static_cast<long>(t.detections[e].size());
    s.pairs_true += n * (n - 1) / 2;
  }
  s.reported = static_cast<int>(groups.size());
  for (std::size_t g = 0; g < groups.size(); ++g) {
    if (m.event[g] < 0)
      ++s.false_clutter;
    else if (!m.main[g])
      ++s.false_split;
    else if (m.mostly[g])
      found[m.event[g]] = true;
    std::map<int, long> count;
    for (std::size_t d : groups[g]) ++count[w.source[d]];
    const long n = static_cast<long>(groups[g].size());
    s.pairs_reported += n * (n - 1) / 2;
    for (const auto& [e, k] : count) {
      if (e < 0) continue;
      s.pairs_same += k * (k - 1) / 2;
      if (counted[e]) s.pairs_both += k * (k - 1) / 2;
    }
  }
  for (std::size_t e = 0; e < w.sources.size(); ++e) {
    if (!counted[e]) continue;
    ++s.events;
    s.found += found[e];
    if (t.arrays[e] >= 4) {
      ++s.events4;
      s.found4 += found[e];
    }
    if (t.arrays[e] == 2) {
      ++s.events2;
      s.found2 += found[e];
    }
  }
  return s;
}

Location location(const World& w,
                  const std::vector<std::vector<std::size_t>>& groups,
                  const fix::Settings& settings) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  const Truth t = truth(w);
  const Matches m = match(w, groups);
  fix::Locator locator(settings);
  auto error_km = [&](const std::vector<std::size_t>& ds, const Source& s) {
    fix::Event event;
    for (std::size_t d : ds) event.detections.push_back(w.detections[d]);
    const fix::Solution fit = locator.locate(event);
    if (fit.status == fix::Status::no_fix) return -1.0;
    double metres;
    g.Inverse(fit.latitude, fit.longitude, s.latitude, s.longitude, metres);
    return metres / 1000.0;
  };
  std::vector<double> grouped, whole;
  for (std::size_t k = 0; k < groups.size(); ++k) {
    if (!m.main[k] || !m.mostly[k]) continue;
    const int e = m.event[k];
    const double a = error_km(groups[k], w.sources[e]);
    const double b = error_km(t.detections[e], w.sources[e]);
    if (a < 0 || b < 0) continue;
    grouped.push_back(a);
    whole.push_back(b);
  }
  Location l;
  l.events = grouped.size();
  auto median = [](std::vector<double> v) {
    if (v.empty()) return 0.0;
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
  };
  l.median_grouped_km = median(grouped);
  l.median_true_km = median(whole);
  return l;
}

}  // namespace world
