#include "assoc/catalogue.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>
#include <tuple>

namespace assoc {

Model::Model(const Options& options, double radius)
    : radius_km(radius) {
  const fix::Settings& s = options.settings;
  const double lo = 1.0 / s.celerity_max, hi = 1.0 / s.celerity_min;
  slowness = 0.5 * (lo + hi);
  slowness_sd = (hi - lo) / std::sqrt(12.0);
  slowness_max = hi;
  pick_var = s.pick_error_s * s.pick_error_s;
  max_arc = std::min(options.max_distance_km / radius_km, 3.0);
  cos_max_arc = std::cos(max_arc);
  span_s = max_arc * radius_km * slowness_max + 4.0 * s.pick_error_s;
  double total = 0.0;
  for (const Phase& p : options.phases) total += p.weight;
  for (const Phase& p : options.phases)
    if (p.weight > 0.0)
      components.push_back({std::log(p.weight / total), p.slowness,
                            p.slowness_sd});
  if (components.empty()) components.push_back({0.0, slowness, slowness_sd});
}

double Model::ln_travel(double travel, double km, double extra) const {
  constexpr double ln_2pi = 1.8378770664093453;
  // ln sum_k w_k N(travel; km s_k, v_k), summed relative to the largest
  // term so far.
  double top = -std::numeric_limits<double>::infinity(), sum = 0.0;
  for (const Component& k : components) {
    const double v = phase_var(k, km) + extra;
    const double r = travel - km * k.slowness;
    const double term = k.ln_weight - 0.5 * (r * r / v + std::log(v) + ln_2pi);
    if (term > top) {
      sum = sum * std::exp(top - term) + 1.0;
      top = term;
    } else {
      sum += std::exp(term - top);
    }
  }
  return top + std::log(sum);
}

double Model::travel_z(double travel, double km) const {
  double z = std::numeric_limits<double>::infinity();
  for (const Component& k : components)
    z = std::min(z, std::fabs(travel - km * k.slowness) /
                        std::sqrt(phase_var(k, km)));
  return z;
}

std::string site_place(const fix::Detection& d) {
  char place[64];
  std::snprintf(place, sizeof place, "%.6f,%.6f", d.latitude, d.longitude);
  return place;
}

std::string site_key(const fix::Detection& d) {
  return d.station + "@" + site_place(d);
}

std::uint32_t Catalogue::site_of(const fix::Detection& d) {
  const std::string key = site_key(d);
  auto [it, added] =
      site_index_.emplace(key, static_cast<std::uint32_t>(sites.size()));
  if (added) {
    const geo::LocalFrame frame = geo::local_frame(d.latitude, d.longitude);
    sites.push_back({d.station.empty() ? site_place(d) : d.station,
                     d.latitude, d.longitude,
                     geo::unit_vector(d.latitude, d.longitude), frame.east,
                     frame.north});
    by_site.emplace_back();
    site_times.emplace_back();
  }
  return it->second;
}

void Catalogue::append(const std::vector<fix::Detection>& detections,
                       const std::vector<std::size_t>& inputs,
                       const std::vector<double>& ln_clutter) {
  std::vector<Arrival> batch;
  for (std::size_t i = 0; i < detections.size(); ++i) {
    const fix::Detection& d = detections[i];
    Arrival a;
    a.input = i;  // for now: the index in this batch
    a.site = site_of(d);
    a.time = d.time;
    a.bearing = geo::wrap360(d.back_azimuth);
    a.sigma = d.sigma > 0.0 ? d.sigma : sigma_;
    const Site& s = sites[a.site];
    const double b = a.bearing * geo::deg2rad;
    a.along = std::sin(b) * s.east + std::cos(b) * s.north;
    a.normal = cross(s.p, a.along);
    a.ln_clutter = ln_clutter[i];
    batch.push_back(a);
  }
  // Canonical order; exactly equal detections keep the callers' order:
  // they are interchangeable.
  auto key = [&](const Arrival& a) {
    return std::tie(a.time, sites[a.site].key, sites[a.site].latitude,
                    sites[a.site].longitude, a.bearing, a.sigma, inputs[a.input]);
  };
  std::sort(batch.begin(), batch.end(),
            [&](const Arrival& x, const Arrival& y) { return key(x) < key(y); });
  for (Arrival& a : batch) {
    const Id id = end();
    detections_.push_back(detections[a.input]);
    a.input = inputs[a.input];
    by_site[a.site].push_back(id);
    site_times[a.site].push_back(a.time);
    arrivals_.push_back(a);
  }
}

void Catalogue::drop_before(double time) {
  std::size_t n = 0;
  while (n < arrivals_.size() && arrivals_[n].time < time) ++n;
  if (n == 0) return;
  arrivals_.erase(arrivals_.begin(), arrivals_.begin() + static_cast<std::ptrdiff_t>(n));
  detections_.erase(detections_.begin(),
                    detections_.begin() + static_cast<std::ptrdiff_t>(n));
  base_ += n;
  for (std::size_t s = 0; s < sites.size(); ++s) {
    auto& ids = by_site[s];
    const auto keep = std::lower_bound(ids.begin(), ids.end(), base_);
    const auto gone = keep - ids.begin();
    ids.erase(ids.begin(), keep);
    site_times[s].erase(site_times[s].begin(), site_times[s].begin() + gone);
  }
}

Id Catalogue::lower_bound(double time) const {
  const auto it = std::lower_bound(
      arrivals_.begin(), arrivals_.end(), time,
      [](const Arrival& a, double t) { return a.time < t; });
  return base_ + static_cast<Id>(it - arrivals_.begin());
}

}  // namespace assoc
