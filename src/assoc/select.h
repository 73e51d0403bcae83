// The choice among candidates: best score first, each confirmed by the
// locator before it takes its detections; a candidate that lost detections
// to a better one, or whose detections the locator set aside, is refitted,
// regrown from what is left and competes again.
#pragma once

#include <vector>

#include "assoc/candidates.h"
#include "fix/locate.h"

namespace assoc {

struct Found {
  Hypothesis h;
  fix::Solution solution;  ///< the locator's, one entry per member
  double first_time;       ///< of its earliest member, s
};

/// The events chosen among `candidates` (scores of at least the options'
/// threshold), in the order they were chosen.
std::vector<Found> select(std::vector<Candidate> candidates,
                          const Catalogue& catalogue, const Fitter& fitter,
                          fix::Locator& locator, const Options& options);

/// Settles the detections that the events of two neighbouring blocks
/// (`earlier`, `later`) both hold: each goes to the better event (the
/// higher score, then the earlier first arrival), and the other is
/// refitted and confirmed without it, or emptied of members when what is
/// left no longer makes an event of at least the threshold.
void settle_shared(std::vector<Found>& earlier, std::vector<Found>& later,
                   const Catalogue& catalogue, const Fitter& fitter,
                   fix::Locator& locator, const Options& options);

/// The locator's verdict on `h`: true when it fits every member (then
/// `solution` holds its fit); otherwise the members it set aside are moved
/// to `h.banned`. No fix at all, or one farther than `max_distance_km` from
/// a member, leaves the members as they are, with the solution's status
/// no-fix.
bool confirm(Hypothesis& h, fix::Locator& locator, const Catalogue& catalogue,
             double max_distance_km, fix::Solution& solution);

}  // namespace assoc
