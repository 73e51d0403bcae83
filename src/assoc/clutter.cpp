#include "assoc/clutter.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace assoc {

namespace {

/// Width of the kernel smoothing the bearings, degrees: about the spread
/// of a persistent direction.
constexpr double kernel_deg = 3.0;
/// The kernel is cut at this many widths.
constexpr double kernel_cut = 5.0;
/// Prior: one detection per hour from any direction, weighing one hour.
constexpr double prior_rate = 1.0 / 3600.0;
constexpr double prior_s = 3600.0;
/// Least time a density is measured over, s.
constexpr double min_span_s = 3600.0;
/// The floor of the density: the mean over the sectors of this width
/// (degrees) of the array's detections, leaving out the busiest fraction
/// `busy` of them (where the persistent directions are).
constexpr int sector_deg = 10;
constexpr int sectors = 360 / sector_deg;
constexpr double busy = 0.25;

// Gaussian kernel density per degree at the offset `d` (degrees).
double kernel(double d) {
  constexpr double norm = 0.3989422804014327 / kernel_deg;  // 1/sqrt(2 pi)
  const double z = d / kernel_deg;
  return norm * std::exp(-0.5 * z * z);
}

}  // namespace

void measure_clutter(Catalogue& c, double start, double block_s, double first,
                     double last) {
  const double lo = start - block_s, hi = start + 2.0 * block_s;
  const double span =
      std::max(std::min(hi, last) - std::max(lo, first), min_span_s);
  const double reach = kernel_cut * kernel_deg;
  std::vector<double> bearings;
  for (std::size_t s = 0; s < c.sites.size(); ++s) {
    const std::vector<Id>& ids = c.by_site[s];
    const std::vector<double>& times = c.site_times[s];
    const auto from = std::lower_bound(times.begin(), times.end(), lo);
    const auto to = std::lower_bound(times.begin(), times.end(), hi);
    if (from == to) continue;
    // The bearings of the three blocks, sorted, with those within reach
    // of north repeated across it; the quieter sectors' mean density.
    bearings.clear();
    int count[sectors] = {};
    for (auto t = from; t != to; ++t) {
      const double b = c.at(ids[t - times.begin()]).bearing;
      bearings.push_back(b);
      if (b < reach) bearings.push_back(b + 360.0);
      if (b > 360.0 - reach) bearings.push_back(b - 360.0);
      ++count[static_cast<int>(b) / sector_deg % sectors];
    }
    std::sort(bearings.begin(), bearings.end());
    std::sort(std::begin(count), std::end(count));
    const int quiet = static_cast<int>((1.0 - busy) * sectors);
    double floor = 0.0;
    for (int q = 0; q < quiet; ++q) floor += count[q];
    floor /= quiet * sector_deg;
    // The block's arrivals of the site, each leaving itself out.
    const auto block_from = std::lower_bound(times.begin(), times.end(), start);
    const auto block_to =
        std::lower_bound(times.begin(), times.end(), start + block_s);
    for (auto t = block_from; t != block_to; ++t) {
      Arrival& a = c.at(ids[t - times.begin()]);
      if (!std::isnan(a.ln_clutter)) continue;
      double density = -kernel(0.0);
      for (auto b = std::lower_bound(bearings.begin(), bearings.end(),
                                     a.bearing - reach);
           b != bearings.end() && *b <= a.bearing + reach; ++b)
        density += kernel(*b - a.bearing);
      density = std::max(density, floor);
      a.ln_clutter = std::log((density + prior_rate * prior_s / 360.0) /
                              (span + prior_s));
    }
  }
}

}  // namespace assoc
