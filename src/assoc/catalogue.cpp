#include "assoc/catalogue.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
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
}

namespace {

// The key of the array of a detection: its name, or its position.
std::string site_key(const fix::Detection& d) {
  if (!d.station.empty()) return d.station;
  char key[64];
  std::snprintf(key, sizeof key, "%.6f,%.6f", d.latitude, d.longitude);
  return key;
}

}  // namespace

Catalogue make_catalogue(const std::vector<fix::Detection>& detections,
                         const Options& options) {
  Catalogue c;
  // Sites in order of their keys, each at the least of its detections'
  // positions (they normally all agree).
  std::map<std::string, std::pair<double, double>> place;
  for (const fix::Detection& d : detections) {
    if (!d.has_time) continue;
    const std::pair<double, double> at{d.latitude, d.longitude};
    auto [it, added] = place.emplace(site_key(d), at);
    if (!added) it->second = std::min(it->second, at);
  }
  std::map<std::string, std::uint32_t> index;
  for (const auto& [key, at] : place) {
    Site s{key, at.first, at.second, fix::unit_vector(at.first, at.second), {},
           {}};
    tangent_basis(s.p, s.east, s.north);
    index.emplace(key, static_cast<std::uint32_t>(c.sites.size()));
    c.sites.push_back(s);
  }
  for (std::size_t i = 0; i < detections.size(); ++i) {
    const fix::Detection& d = detections[i];
    if (!d.has_time) continue;
    Arrival a;
    a.input = i;
    a.site = index.at(site_key(d));
    a.time = d.time;
    a.bearing = fix::wrap360(d.back_azimuth);
    a.sigma = d.sigma > 0.0 ? d.sigma : options.settings.sigma_deg;
    const Site& s = c.sites[a.site];
    const double b = a.bearing * fix::deg2rad;
    a.along = std::sin(b) * s.east + std::cos(b) * s.north;
    a.normal = cross(s.p, a.along);
    a.ln_clutter = 0.0;
    c.arrivals.push_back(a);
  }
  // Exactly equal detections keep their input order: they are
  // interchangeable.
  std::sort(c.arrivals.begin(), c.arrivals.end(),
            [](const Arrival& x, const Arrival& y) {
              return std::tie(x.time, x.site, x.bearing, x.sigma, x.input) <
                     std::tie(y.time, y.site, y.bearing, y.sigma, y.input);
            });
  c.by_site.resize(c.sites.size());
  c.site_times.resize(c.sites.size());
  for (std::size_t k = 0; k < c.arrivals.size(); ++k) {
    c.by_site[c.arrivals[k].site].push_back(static_cast<std::uint32_t>(k));
    c.site_times[c.arrivals[k].site].push_back(c.arrivals[k].time);
  }
  return c;
}

}  // namespace assoc
