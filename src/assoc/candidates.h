// Candidate events of one block of time, grown from pairs of arrivals at
// two arrays whose bearings cross in front of both and whose times fit one
// origin.
#pragma once

#include <vector>

#include "assoc/hypothesis.h"

namespace assoc {

struct Candidate {
  Hypothesis h;
  double first_time;  ///< of its earliest member, s
};

/// The candidates seeded by the pairs whose earlier arrival lies in
/// [from, to) (s). A pair whose two arrivals are both members of a
/// candidate grown already gives no new seed; candidates with the same
/// members are kept once. The window must hold the arrivals up to two
/// blocks after `to`, their clutter measured.
std::vector<Candidate> seed_candidates(const Catalogue& catalogue,
                                       const Model& model,
                                       const Fitter& fitter, double from,
                                       double to);

}  // namespace assoc
