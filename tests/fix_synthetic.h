// Synthetic events for vestra-fix from known sources, computed with
// GeographicLib as an independent reference: stations placed at given
// azimuths and distances from the source, bearings the exact geodesic
// azimuths from the stations to the source, arrival times the origin time
// plus the distance times a slowness drawn uniformly from the celerity
// range, then Gaussian noise. Used by the tests and the benchmarks.
#pragma once

#include <GeographicLib/Geodesic.hpp>

#include <random>
#include <string>
#include <vector>

#include "fix/event.h"

namespace synthetic {

/// A station seen from the source: azimuth (degrees) and distance (km).
struct Site {
  double azimuth, distance_km;
};

struct Noise {
  double sigma_deg = 0.0;   ///< bearing noise, degrees
  bool times = false;       ///< whether arrival times are given
  double pick_s = 0.0;      ///< arrival time noise, s
  double celerity_min = 0.0, celerity_max = 0.0;  ///< km/s; 0: mean slowness
};

/// The event of a source at (lat, lon) (degrees) with origin time t0 (s
/// since 1970) seen from `sites`; stations named S1, S2, ...
inline fix::Event make_event(const GeographicLib::Geodesic& g, double lat,
                             double lon, double t0,
                             const std::vector<Site>& sites,
                             const Noise& noise, std::mt19937_64& rng,
                             const std::string& name = "E") {
  std::normal_distribution<double> gauss(0.0, 1.0);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  fix::Event event;
  event.name = name;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    fix::Detection d;
    d.station = "S" + std::to_string(i + 1);
    g.Direct(lat, lon, sites[i].azimuth, sites[i].distance_km * 1000.0,
             d.latitude, d.longitude);
    double s12, azi1, azi2;
    g.Inverse(d.latitude, d.longitude, lat, lon, s12, azi1, azi2);
    d.back_azimuth = azi1 + noise.sigma_deg * gauss(rng);
    if (d.back_azimuth < 0) d.back_azimuth += 360.0;
    if (noise.times) {
      const double lo = 1.0 / 0.34, hi = 1.0 / 0.22;
      double slowness = 0.5 * (lo + hi);
      if (noise.celerity_max > 0)
        slowness = 1.0 / noise.celerity_max +
                   (1.0 / noise.celerity_min - 1.0 / noise.celerity_max) *
                       uniform(rng);
      d.has_time = true;
      d.time = t0 + s12 / 1000.0 * slowness + noise.pick_s * gauss(rng);
    }
    event.detections.push_back(d);
  }
  return event;
}

/// One event of `n` detections seen at `stations` stations placed at random
/// azimuths and 100 to 2,000 km from the source at (lat, lon) (degrees);
/// detection k is station k % stations'. A fraction `clutter` of the
/// detections, drawn at random, are clutter: a bearing uniform over the
/// circle and, with times, an arrival time uniform over the day after t0;
/// the others are the source's, with `noise`. `is_clutter`, when given,
/// receives which detections are clutter.
inline fix::Event make_cluttered_event(
    const GeographicLib::Geodesic& g, double lat, double lon, double t0,
    std::size_t n, std::size_t stations, double clutter, const Noise& noise,
    std::mt19937_64& rng, std::vector<bool>* is_clutter = nullptr) {
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  std::vector<Site> sites;
  for (std::size_t i = 0; i < stations; ++i)
    sites.push_back({360.0 * uniform(rng), 100.0 + 1900.0 * uniform(rng)});
  // Every station's view of the source, then detection k is a copy of
  // station k % stations' with fresh noise (or clutter).
  fix::Event event;
  event.name = "E";
  if (is_clutter) is_clutter->assign(n, false);
  for (std::size_t k = 0; k < n; ++k) {
    const Site site = sites[k % stations];
    fix::Detection d =
        make_event(g, lat, lon, t0, {site}, noise, rng).detections[0];
    d.station = "S" + std::to_string(k % stations + 1);
    if (uniform(rng) < clutter) {
      d.back_azimuth = 360.0 * uniform(rng);
      if (d.has_time) d.time = t0 + 86400.0 * uniform(rng);
      if (is_clutter) (*is_clutter)[k] = true;
    }
    event.detections.push_back(d);
  }
  return event;
}

}  // namespace synthetic
