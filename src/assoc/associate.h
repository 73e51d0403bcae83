// Association: from the detections of many arrays, unassociated, to events.
//
// An event is a source at some place and origin time whose signal some
// arrays detected: bearings that cross at the source, arrival times that
// follow from its distance and the celerities. Each candidate grouping is
// scored by the likelihood ratio of "these detections come from one
// source" against "they are clutter", where the clutter's density at each
// array is measured from the detections themselves (direction by direction,
// over three days around each), so that a direction an array detects
// hour after hour counts for little and a quiet one for much. Candidates
// grow from pairs of bearings that cross in front of both arrays with
// consistent times, are taken best first, each confirmed by the locator's
// fit and residual tests, and a detection goes to one event at most. The
// work runs day by day (stream.h), so that its cost grows linearly with the
// length of the input; the days are processed by `jobs` threads with
// results that do not depend on their number or on the order of the input.
// The method and the reasons for its parameters: src/assoc/README.md.
//
// Units: degrees, km, s; times in seconds since 1970 (UTC).
#pragma once

#include <cstddef>
#include <vector>

#include "fix/event.h"
#include "fix/locate.h"

namespace assoc {

/// One phase of the travel-time model: a Gaussian reciprocal celerity of
/// some weight.
struct Phase {
  double weight;       ///< share of the arrivals (the weights are normalised)
  double slowness;     ///< mean reciprocal celerity, s/km
  double slowness_sd;  ///< its standard deviation, s/km
};

/// The three-phase mixture of reciprocal celerity published for
/// infrasound (fast stratospheric, stratospheric, thermospheric and
/// diffuse arrivals).
inline const std::vector<Phase>& infrasound_phases() {
  static const std::vector<Phase> phases = {{0.0539, 1.0 / 0.327, 0.066},
                                            {0.0899, 1.0 / 0.293, 0.08},
                                            {0.8562, 1.0 / 0.26, 0.33}};
  return phases;
}

struct Options {
  /// Bearing standard deviation, celerities, pick error and ellipsoid:
  /// those of the location. The celerity range bounds the times that may
  /// belong to one source; the pick error adds to every phase's spread.
  fix::Settings settings;
  /// The arrival times' model in the score and the fits: a mixture of
  /// phases; empty: the locator's (a slowness uniform over the celerity
  /// range, as one Gaussian).
  std::vector<Phase> phases = infrasound_phases();
  std::size_t min_detections = 3;  ///< least detections of an event
  std::size_t min_arrays = 2;      ///< least arrays of an event
  /// Farthest an array may be from a source it detects, km.
  double max_distance_km = 5000.0;
  /// Least score of an event: the natural logarithm of its likelihood
  /// ratio against clutter.
  double threshold = 12.25;
  /// Shifted copies of the unassociated detections to associate, to
  /// measure how many of the events clutter alone would make (0: none).
  unsigned copies = 0;
  /// With copies: the largest expected fraction of false events; the
  /// threshold is then raised from `threshold` to the least score at which
  /// the copies' events per copy are at most this fraction of the events
  /// kept (0: the threshold stays).
  double max_false = 0.0;
  unsigned jobs = 1;  ///< threads; 0: one per core
};

/// One event found.
struct Event {
  /// Its detections, as indices into the input, in order of arrival time.
  std::vector<std::size_t> detections;
  double score = 0.0;      ///< log-likelihood ratio against clutter
  fix::Solution solution;  ///< the locator's fit, one entry per detection
};

struct Result {
  std::vector<Event> events;  ///< in order of origin time
  /// The scores of the events associated in the shifted copies (each one
  /// an event of clutter alone), all copies together, highest first.
  std::vector<double> false_scores;
  unsigned copies = 0;
  double threshold = 0.0;  ///< the threshold the events were kept with
  /// Expected number of events of clutter among those of a score of at
  /// least `threshold`: those of the copies, per copy.
  double expected_false(double threshold) const;
};

/// The events of `detections`. Detections without an arrival time take no
/// part. Throws std::invalid_argument for a detection with a time, place or
/// bearing that is not a finite number (or a time beyond the year 3000).
Result associate(const std::vector<fix::Detection>& detections,
                 const Options& options);

}  // namespace assoc
