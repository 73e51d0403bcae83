#include "assoc/select.h"

#include <algorithm>
#include <queue>
#include <tuple>

namespace assoc {

namespace {

// Best first: the higher score, then the earlier first arrival, then the
// lesser members.
struct Before {
  const std::vector<Candidate>* all;
  bool operator()(std::size_t x, std::size_t y) const {
    const Candidate& a = (*all)[x];
    const Candidate& b = (*all)[y];
    // std::priority_queue puts the greatest first: "x below y".
    return std::tie(a.h.score, b.first_time, b.h.members) <
           std::tie(b.h.score, a.first_time, a.h.members);
  }
};

// Of two events holding the same detection, the better keeps it: the one
// of the higher score, then of the earlier first arrival.
bool better(const Found& a, const Found& b) {
  return std::tie(a.h.score, b.first_time, b.h.members) >
         std::tie(b.h.score, a.first_time, a.h.members);
}

}  // namespace

void settle_shared(std::vector<Found>& earlier, std::vector<Found>& later,
                   const Catalogue& c, const Fitter& fitter,
                   fix::Locator& locator, const Options& o) {
  for (Found& a : earlier)
    for (Found& b : later) {
      if (a.h.members.empty() || b.h.members.empty()) continue;
      Found& loser = better(a, b) ? b : a;
      const Found& winner = &loser == &a ? b : a;
      const auto before = loser.h.members.size();
      std::erase_if(loser.h.members, [&](Id m) {
        return std::binary_search(winner.h.members.begin(),
                                  winner.h.members.end(), m);
      });
      if (loser.h.members.size() == before) continue;
      bool kept = false;
      while (fitter.large_enough(loser.h.members) && fitter.settle(loser.h) &&
             loser.h.score >= o.threshold) {
        if (confirm(loser.h, locator, c, o.max_distance_km, loser.solution)) {
          kept = true;
          break;
        }
        if (loser.solution.status == fix::Status::no_fix) break;
      }
      if (!kept) loser.h.members.clear();
    }
}

bool confirm(Hypothesis& h, fix::Locator& locator, const Catalogue& c,
             double max_distance_km, fix::Solution& solution) {
  fix::Event event;
  for (Id k : h.members) event.detections.push_back(c.detection(k));
  solution = locator.locate(event);
  if (solution.status == fix::Status::no_fix) return false;
  for (const fix::DetectionFit& d : solution.detections)
    if (d.used && !(d.distance_km <= max_distance_km)) {
      solution.status = fix::Status::no_fix;
      return false;
    }
  std::vector<Id> kept;
  for (std::size_t i = 0; i < h.members.size(); ++i) {
    if (solution.detections[i].used)
      kept.push_back(h.members[i]);
    else
      h.banned.insert(std::upper_bound(h.banned.begin(), h.banned.end(),
                                       h.members[i]),
                      h.members[i]);
  }
  if (kept.size() == h.members.size()) return true;
  h.members = std::move(kept);
  return false;
}

std::vector<Found> select(std::vector<Candidate> all, const Catalogue& c,
                          const Fitter& fitter, fix::Locator& locator,
                          const Options& o) {
  std::vector<Found> found;
  Claims claims(c);
  std::priority_queue<std::size_t, std::vector<std::size_t>, Before> queue(
      Before{&all});
  for (std::size_t i = 0; i < all.size(); ++i)
    if (all[i].h.score >= o.threshold) queue.push(i);
  while (!queue.empty()) {
    Candidate cand = all[queue.top()];
    queue.pop();
    const bool stale =
        std::any_of(cand.h.members.begin(), cand.h.members.end(),
                    [&](Id k) { return claims[k]; });
    fix::Solution solution;
    if (!stale && confirm(cand.h, locator, c, o.max_distance_km, solution)) {
      for (Id k : cand.h.members) claims.claim(k);
      found.push_back({std::move(cand.h), std::move(solution),
                       cand.first_time});
      continue;
    }
    if (stale) {
      std::erase_if(cand.h.members, [&](Id k) { return claims[k]; });
    } else if (solution.status == fix::Status::no_fix) {
      continue;
    }
    // What is left competes again.
    if (!fitter.large_enough(cand.h.members) || !fitter.settle(cand.h) ||
        !fitter.grow(cand.h, &claims) || cand.h.score < o.threshold)
      continue;
    cand.first_time = c.at(cand.h.members.front()).time;
    all.push_back(std::move(cand));
    queue.push(all.size() - 1);
  }
  return found;
}

}  // namespace assoc
