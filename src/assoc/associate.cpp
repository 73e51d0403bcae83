// The run: the input cut into blocks of whole days (counted from 1970, so
// that the cut does not depend on where the input starts); candidates
// seeded block by block; in each block the choice among the candidates
// that begin in it or within an event's span of it (so that it sees what
// competes across its edges); each block keeps the events whose first
// arrival lies in it; at every edge between two blocks, a detection that
// both sides' events hold goes to the better event, and the other is
// refitted and confirmed again without it. An event's arrivals span less
// than half a block, so no event meets both edges of its block and the
// edges can be settled one after the other in any order.

#include "assoc/associate.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <map>
#include <thread>
#include <tuple>

#include "assoc/candidates.h"
#include "assoc/catalogue.h"
#include "assoc/clutter.h"
#include "assoc/hypothesis.h"
#include "assoc/select.h"

namespace assoc {

namespace {

constexpr double day_s = 86400.0;

// Runs work(k, locator) for k in [0, n) on `jobs` threads, each with its
// own locator.
void parallel_for(std::size_t n, unsigned jobs, const fix::Settings& settings,
                  const std::function<void(std::size_t, fix::Locator&)>& work) {
  jobs = std::max(1u, std::min<unsigned>(jobs, static_cast<unsigned>(n)));
  std::atomic<std::size_t> next{0};
  auto run = [&] {
    fix::Locator locator(settings);
    for (std::size_t k; (k = next++) < n;) work(k, locator);
  };
  if (jobs == 1) {
    run();
    return;
  }
  std::vector<std::thread> threads;
  for (unsigned j = 0; j < jobs; ++j) threads.emplace_back(run);
  for (std::thread& t : threads) t.join();
}

// The earlier of two events holding the same detection loses it: the
// better is the one of the higher score, then of the earlier first arrival.
bool better(const Found& a, const Found& b) {
  return std::tie(a.h.score, b.first_time, b.h.members) >
         std::tie(b.h.score, a.first_time, a.h.members);
}

}  // namespace

std::vector<Event> associate(const std::vector<fix::Detection>& detections,
                             const Options& options) {
  fix::Locator reference(options.settings);
  const Model model(options, reference.earth().mean_radius_km());
  Catalogue catalogue = make_catalogue(detections, options);
  if (catalogue.arrivals.empty()) return {};
  const double block = day_s * std::max(1.0, std::ceil(2.0 * model.span_s / day_s));
  measure_clutter(catalogue, block);
  const Fitter fitter(catalogue, model, options);
  unsigned jobs = options.jobs;
  if (jobs == 0) jobs = std::max(1u, std::thread::hardware_concurrency());

  const double first_block = std::floor(catalogue.arrivals.front().time / block);
  const auto blocks = static_cast<std::size_t>(
      std::floor(catalogue.arrivals.back().time / block) - first_block + 1.0);
  auto start = [&](std::size_t k) {
    return (first_block + static_cast<double>(k)) * block;
  };

  std::vector<std::vector<Candidate>> seeded(blocks);
  parallel_for(blocks, jobs, options.settings,
               [&](std::size_t k, fix::Locator&) {
                 seeded[k] = seed_candidates(catalogue, model, fitter,
                                             start(k), start(k) + block);
               });

  const double span = model.span_s;
  std::vector<std::vector<Found>> owned(blocks);
  parallel_for(blocks, jobs, options.settings,
               [&](std::size_t k, fix::Locator& locator) {
    // The candidates of this block and its neighbours that begin within a
    // span of it, each set of members once (the best scored).
    std::map<std::vector<std::uint32_t>, Candidate> unique;
    const double lo = start(k) - span, hi = start(k) + block + span;
    for (std::size_t b = k == 0 ? 0 : k - 1; b < std::min(blocks, k + 3); ++b)
      for (const Candidate& cand : seeded[b]) {
        if (cand.first_time < lo || cand.first_time >= hi) continue;
        auto [it, added] = unique.emplace(cand.h.members, cand);
        if (!added && cand.h.score > it->second.h.score) it->second = cand;
      }
    std::vector<Candidate> mine;
    mine.reserve(unique.size());
    for (auto& [members, cand] : unique) mine.push_back(std::move(cand));
    for (Found& f : select(std::move(mine), catalogue, fitter, locator,
                           detections, options))
      if (f.first_time >= start(k) && f.first_time < start(k) + block)
        owned[k].push_back(std::move(f));
  });

  // The edges between blocks.
  for (std::size_t k = 0; k + 1 < blocks; ++k) {
    for (Found& a : owned[k])
      for (Found& b : owned[k + 1]) {
        Found& loser = better(a, b) ? b : a;
        const Found& winner = &loser == &a ? b : a;
        const auto before = loser.h.members.size();
        std::erase_if(loser.h.members, [&](std::uint32_t m) {
          return std::binary_search(winner.h.members.begin(),
                                    winner.h.members.end(), m);
        });
        if (loser.h.members.size() == before) continue;
        bool kept = false;
        while (fitter.large_enough(loser.h.members) &&
               fitter.settle(loser.h) && loser.h.score >= options.threshold) {
          if (confirm(loser.h, reference, catalogue, detections,
                      options.max_distance_km, loser.solution)) {
            kept = true;
            break;
          }
          if (loser.solution.status == fix::Status::no_fix) break;
        }
        if (!kept) loser.h.members.clear();
      }
  }

  std::vector<Event> events;
  for (std::vector<Found>& list : owned)
    for (Found& f : list) {
      if (f.h.members.empty()) continue;
      Event e;
      for (std::uint32_t m : f.h.members)
        e.detections.push_back(catalogue.arrivals[m].input);
      e.score = f.h.score;
      e.solution = std::move(f.solution);
      events.push_back(std::move(e));
    }
  auto origin = [](const Event& e) {
    return e.solution.has_origin ? e.solution.origin_time : 0.0;
  };
  std::stable_sort(events.begin(), events.end(),
                   [&](const Event& a, const Event& b) {
                     return origin(a) < origin(b);
                   });
  return events;
}

}  // namespace assoc
