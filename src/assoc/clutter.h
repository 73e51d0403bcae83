// The clutter density of every arrival: how often its array detects
// signals from about its direction, measured on the detections themselves.
#pragma once

#include "assoc/catalogue.h"

namespace assoc {

/// Sets the ln_clutter of the arrivals of the block [start, start + block_s)
/// that have none (NaN), from the detections of their array in that block
/// and the blocks on either side, itself left out: their bearings smoothed
/// with a Gaussian kernel, but never less than the array's mean density
/// over its quieter directions, over the time the input covers in those
/// blocks (`first` and `last`: the input's first and last arrival times
/// so far), plus a prior of one detection per hour from any direction,
/// weighing as much as one hour. The window must hold the three blocks.
void measure_clutter(Catalogue& catalogue, double start, double block_s,
                     double first, double last);

}  // namespace assoc
