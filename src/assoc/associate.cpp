// The association of a list of detections: sorted by time and streamed.
//
// The false events are measured on copies of the detections left
// unassociated, each array's times shifted by its own offset (wrapping
// round the input's span): coincidences between arrays are broken, while
// each array's clutter, its directions and rates, stays as it was (each
// detection keeps the clutter density measured on the input). What the
// copies associate is what clutter alone makes.

#include "assoc/associate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <stdexcept>
#include <string>

#include "assoc/catalogue.h"
#include "assoc/stream.h"

namespace assoc {

namespace {

/// Rounds of copies at most in the search for the threshold.
constexpr int max_rounds = 4;

// The events of `detections` (those flagged in `skip` left out), with
// their clutter densities when known.
std::vector<Event> run(const std::vector<fix::Detection>& detections,
                       const std::vector<char>& skip,
                       const std::vector<double>& ln_clutter,
                       const Options& options,
                       std::vector<double>* clutter_out) {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < detections.size(); ++i) {
    if (!detections[i].has_time || skip[i]) continue;
    // Sorted on, a time must be a number; the stream checks the rest.
    if (!std::isfinite(detections[i].time))
      throw std::invalid_argument("a detection's time is not a number");
    order.push_back(i);
  }
  std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) {
    return detections[a].time < detections[b].time;
  });
  Stream stream(options);
  stream.record_clutter(clutter_out);
  for (std::size_t i : order)
    stream.add(detections[i], i,
               ln_clutter.empty() ? std::numeric_limits<double>::quiet_NaN()
                                  : ln_clutter[i]);
  stream.finish();
  return stream.take();
}

// Copy number `copy` (from 1) of `detections`, each array's times shifted
// by its own part of the span (from the first time to the last and the
// longest travel time more), wrapping round it. The parts are spread by
// the golden ratio over the arrays in the order of their names and
// places: no two close, for any number of arrays, and different in every
// copy.
std::vector<fix::Detection> shifted(const std::vector<fix::Detection>& detections,
                                    unsigned copy, double pad_s) {
  constexpr double golden = 0.6180339887498949;
  std::map<std::string, double> part;
  double first = std::numeric_limits<double>::infinity(), last = -first;
  for (const fix::Detection& d : detections) {
    if (!d.has_time) continue;
    part[site_key(d)] = 0.0;
    first = std::min(first, d.time);
    last = std::max(last, d.time);
  }
  double rank = 1.0;
  for (auto& [key, p] : part) {
    p = rank++ * golden * copy;
    p -= std::floor(p);
  }
  const double span = last - first + pad_s;
  std::vector<fix::Detection> out = detections;
  for (fix::Detection& d : out)
    if (d.has_time)
      d.time = first + std::fmod(d.time - first + part[site_key(d)] * span, span);
  return out;
}

}  // namespace

double Result::expected_false(double threshold) const {
  if (copies == 0) return 0.0;
  const auto n = std::count_if(false_scores.begin(), false_scores.end(),
                               [&](double s) { return s >= threshold; });
  return static_cast<double>(n) / copies;
}

Result associate(const std::vector<fix::Detection>& detections,
                 const Options& options) {
  Result result;
  std::vector<double> ln_clutter;
  result.events = run(detections, std::vector<char>(detections.size(), 0), {},
                      options, &ln_clutter);
  ln_clutter.resize(detections.size(), std::numeric_limits<double>::quiet_NaN());

  // The copies are made of what the events of a score of at least the
  // threshold leave; with a largest fraction of false events, the
  // threshold rises to the least score that keeps the expected false
  // events within it, and the copies are made again from what the events
  // above it leave, until the threshold holds by its own copies.
  result.copies = options.copies;
  result.threshold = options.threshold;
  const double pad_s =
      Model(options, fix::Locator(options.settings).earth().mean_radius_km())
          .span_s;
  for (int round = 0; options.copies > 0 && round < max_rounds; ++round) {
    std::vector<char> taken(detections.size(), 0);
    for (const Event& e : result.events)
      if (e.score >= result.threshold)
        for (std::size_t d : e.detections) taken[d] = 1;
    result.false_scores.clear();
    for (unsigned copy = 1; copy <= options.copies; ++copy)
      for (const Event& e : run(shifted(detections, copy, pad_s), taken,
                                ln_clutter, options, nullptr))
        result.false_scores.push_back(e.score);
    std::sort(result.false_scores.rbegin(), result.false_scores.rend());
    if (!(options.max_false > 0.0)) break;
    auto holds = [&](double threshold) {
      const auto kept = std::count_if(
          result.events.begin(), result.events.end(),
          [&](const Event& e) { return e.score >= threshold; });
      return result.expected_false(threshold) <=
             options.max_false * static_cast<double>(kept);
    };
    if (holds(result.threshold)) break;
    std::vector<double> scores;
    for (const Event& e : result.events)
      if (e.score > result.threshold) scores.push_back(e.score);
    std::sort(scores.begin(), scores.end());
    const auto next = std::find_if(scores.begin(), scores.end(), holds);
    result.threshold = next == scores.end()
                           ? std::numeric_limits<double>::infinity()
                           : *next;
  }
  std::erase_if(result.events, [&](const Event& e) {
    return e.score < result.threshold;
  });

  auto origin = [](const Event& e) {
    return e.solution.has_origin ? e.solution.origin_time : 0.0;
  };
  std::stable_sort(result.events.begin(), result.events.end(),
                   [&](const Event& a, const Event& b) {
                     return origin(a) < origin(b);
                   });
  return result;
}

}  // namespace assoc
