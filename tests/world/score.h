// The figures of an association against the truth of a synthetic world.
//
// A true event counts when it has at least `min_detections` detections from
// at least `min_arrays` arrays. A reported event made mostly (more than
// half) of clutter is false; any other is attributed to the true event
// holding most of its detections, and of the reported events attributed to
// one true event, all but the one holding most of its detections are
// second pieces, false too. A counted event is found when the main piece
// attributed to it is made mostly of its detections. Pairs: two detections
// in the same reported event (reported), of the same true event (same:
// precision is same over reported), of the same counted true event (true),
// both (recall is both over true).
#pragma once

#include <cstddef>
#include <vector>

#include "fix/event.h"
#include "world/world.h"

namespace world {

struct Score {
  int events = 0, found = 0;    ///< counted true events; found among them
  int events4 = 0, found4 = 0;  ///< those heard by four or more arrays
  int events2 = 0, found2 = 0;  ///< those heard by two arrays only
  int reported = 0;
  int false_clutter = 0;  ///< reported events made mostly of clutter
  int false_split = 0;    ///< second pieces of an event matched already
  long pairs_true = 0, pairs_reported = 0, pairs_same = 0, pairs_both = 0;

  double recall() const { return ratio(found, events); }
  double recall4() const { return ratio(found4, events4); }
  double recall2() const { return ratio(found2, events2); }
  double false_fraction() const {
    return ratio(false_clutter + false_split, reported);
  }
  double precision() const { return ratio(pairs_same, pairs_reported); }
  double pair_recall() const { return ratio(pairs_both, pairs_true); }

 private:
  static double ratio(double a, double b) { return b > 0 ? a / b : 0.0; }
};

/// `groups`: the detections of each reported event, as indices into
/// `w.detections`.
Score score(const World& w, const std::vector<std::vector<std::size_t>>& groups,
            std::size_t min_detections = 3, std::size_t min_arrays = 2);

/// Location of the found events by vestra-fix's locator from the reported
/// grouping and from the true one (all the event's detections): the median
/// distances (km) of the fixes from the true sources, over the found events
/// that both groupings locate.
struct Location {
  std::size_t events = 0;
  double median_grouped_km = 0.0, median_true_km = 0.0;
};
Location location(const World& w,
                  const std::vector<std::vector<std::size_t>>& groups,
                  const fix::Settings& settings);

}  // namespace world
