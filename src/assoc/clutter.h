// The clutter density of every arrival: how often its array detects
// signals from about its direction, measured on the detections themselves.
#pragma once

#include "assoc/catalogue.h"

namespace assoc {

/// Sets every arrival's ln_clutter from the detections of its array in the
/// three blocks of `block_s` seconds around its own (blocks counted from
/// 1970), itself left out: their bearings smoothed with a Gaussian kernel,
/// but never less than the array's mean density over its quieter
/// directions, over the time the input covers in those blocks, plus a
/// prior of one detection per hour from any direction, weighing as much as
/// one hour.
void measure_clutter(Catalogue& catalogue, double block_s);

}  // namespace assoc
