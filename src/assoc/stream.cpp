#include "assoc/stream.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <thread>

#include "assoc/candidates.h"
#include "assoc/clutter.h"
#include "assoc/hypothesis.h"

namespace assoc {

namespace {

constexpr double day_s = 86400.0;
/// Times from 1970 beyond this (about the year 3000) are refused, s.
constexpr double max_time_s = 3.2e10;

// Runs work(i, worker) for i in [0, n) on `jobs` threads.
void parallel_for(std::size_t n, unsigned jobs,
                  const std::function<void(std::size_t, unsigned)>& work) {
  jobs = std::max(1u, std::min<unsigned>(jobs, static_cast<unsigned>(n)));
  std::atomic<std::size_t> next{0};
  auto run = [&](unsigned worker) {
    for (std::size_t i; (i = next++) < n;) work(i, worker);
  };
  if (jobs == 1) {
    run(0);
    return;
  }
  std::vector<std::thread> threads;
  for (unsigned w = 0; w < jobs; ++w) threads.emplace_back(run, w);
  for (std::thread& t : threads) t.join();
}

}  // namespace

Stream::Stream(const Options& options) : o_(options), c_(options) {
  jobs_ = options.jobs;
  if (jobs_ == 0) jobs_ = std::max(1u, std::thread::hardware_concurrency());
  for (unsigned w = 0; w < jobs_; ++w)
    locators_.push_back(std::make_unique<fix::Locator>(options.settings));
  model_ = std::make_unique<Model>(options,
                                   locators_[0]->earth().mean_radius_km());
  block_ = day_s * std::max(1.0, std::ceil(2.0 * model_->span_s / day_s));
}

Stream::~Stream() = default;

void Stream::add(const fix::Detection& d, std::size_t input,
                 double ln_clutter) {
  if (!d.has_time) return;
  if (!(std::fabs(d.time) < max_time_s) || !std::isfinite(d.latitude) ||
      !std::isfinite(d.longitude) || !std::isfinite(d.back_azimuth) ||
      !std::isfinite(d.sigma))
    throw std::invalid_argument("a detection's time, place or bearing is "
                                "not a number");
  const auto k = static_cast<Index>(std::floor(d.time / block_));
  if (!started_) {
    started_ = true;
    first_ = complete_ = measured_ = seeded_ = selected_ = emitted_ = filling_ = k;
  }
  if (k < filling_)
    throw std::invalid_argument("detections out of order of time");
  if (k > filling_) {
    close_block();
    filling_ = k;
    complete_ = k;
    advance(false);
  }
  pending_.push_back(d);
  pending_input_.push_back(input);
  pending_clutter_.push_back(ln_clutter);
  if (std::isnan(first_time_) || d.time < first_time_) first_time_ = d.time;
  if (std::isnan(last_time_) || d.time > last_time_) last_time_ = d.time;
}

void Stream::close_block() {
  c_.append(pending_, pending_input_, pending_clutter_);
  pending_.clear();
  pending_input_.clear();
  pending_clutter_.clear();
  complete_ = filling_ + 1;
}

void Stream::finish() {
  if (!started_) return;
  close_block();
  advance(true);
}

std::vector<Event> Stream::take() {
  std::vector<Event> out;
  out.swap(out_);
  return out;
}

void Stream::advance(bool final) {
  for (const Index stop = final ? complete_ : complete_ - 1; measured_ < stop;
       ++measured_) {
    measure_clutter(c_, start(measured_), block_, first_time_, last_time_);
    if (!clutter_out_) continue;
    for (Id id = c_.lower_bound(start(measured_));
         id < c_.end() && c_.at(id).time < start(measured_ + 1); ++id) {
      const Arrival& a = c_.at(id);
      if (clutter_out_->size() <= a.input) clutter_out_->resize(a.input + 1);
      (*clutter_out_)[a.input] = a.ln_clutter;
    }
  }
  // Seeds and choices in batches of as many blocks as jobs.
  const Index seed_stop = final ? measured_ : measured_ - 2;
  if (seed_stop - seeded_ >= static_cast<Index>(jobs_) ||
      (final && seed_stop > seeded_)) {
    std::vector<Index> ks;
    for (Index k = seeded_; k < seed_stop; ++k) ks.push_back(k);
    run(ks, true);
    seeded_ = seed_stop;
  }
  const Index select_stop = final ? seeded_ : seeded_ - 2;
  if (select_stop > selected_) {
    std::vector<Index> ks;
    for (Index k = selected_; k < select_stop; ++k) ks.push_back(k);
    run(ks, false);
    for (Index k : ks)
      if (k > first_) settle_edge(k);
    selected_ = select_stop;
  }
  for (const Index stop = final ? selected_ : selected_ - 1; emitted_ < stop;
       ++emitted_)
    emit(emitted_);
  // What no block still to be chosen, settled or emitted needs.
  c_.drop_before(start(std::min(emitted_, selected_) - 2));
  for (auto it = blocks_.begin(); it != blocks_.end();) {
    if (it->first < emitted_) {
      it = blocks_.erase(it);
      continue;
    }
    if (it->first < selected_ - 1) it->second.candidates.clear();
    ++it;
  }
}

void Stream::run(std::vector<Index> ks, bool seed) {
  for (Index k : ks) block(k);  // no insertion while the threads run
  const Fitter fitter(c_, *model_, o_);
  const double span = model_->span_s;
  parallel_for(ks.size(), jobs_, [&](std::size_t i, unsigned worker) {
    const Index k = ks[i];
    Block& b = blocks_.at(k);
    if (seed) {
      b.candidates = seed_candidates(c_, *model_, fitter, start(k),
                                     start(k + 1));
      b.seeded = true;
      return;
    }
    // The candidates of this block and its neighbours that begin within a
    // span of it, each set of members once (the best scored).
    std::map<std::vector<Id>, Candidate> unique;
    const double lo = start(k) - span, hi = start(k + 1) + span;
    for (Index n = k - 1; n <= k + 2; ++n) {
      const auto it = blocks_.find(n);
      if (it == blocks_.end()) continue;
      for (const Candidate& cand : it->second.candidates) {
        if (cand.first_time < lo || cand.first_time >= hi) continue;
        auto [u, added] = unique.emplace(cand.h.members, cand);
        if (!added && cand.h.score > u->second.h.score) u->second = cand;
      }
    }
    std::vector<Candidate> mine;
    mine.reserve(unique.size());
    for (auto& [members, cand] : unique) mine.push_back(std::move(cand));
    for (Found& f : select(std::move(mine), c_, fitter, *locators_[worker], o_))
      if (f.first_time >= start(k) && f.first_time < start(k + 1))
        b.owned.push_back(std::move(f));
    b.selected = true;
  });
}

void Stream::settle_edge(Index k) {
  const auto left = blocks_.find(k - 1), right = blocks_.find(k);
  if (left == blocks_.end() || right == blocks_.end()) return;
  const Fitter fitter(c_, *model_, o_);
  settle_shared(left->second.owned, right->second.owned, c_, fitter,
                *locators_[0], o_);
}

void Stream::emit(Index k) {
  const auto it = blocks_.find(k);
  if (it == blocks_.end()) return;
  for (Found& f : it->second.owned) {
    if (f.h.members.empty()) continue;
    Event e;
    for (Id m : f.h.members) e.detections.push_back(c_.at(m).input);
    e.score = f.h.score;
    e.solution = std::move(f.solution);
    out_.push_back(std::move(e));
  }
  it->second.owned.clear();
}

}  // namespace assoc
