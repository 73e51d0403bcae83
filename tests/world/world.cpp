#include "world/world.h"

#include <GeographicLib/Geodesic.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace world {

namespace {

using GeographicLib::Geodesic;

constexpr double pi = 3.141592653589793;
constexpr double earth_km = 6371.0;

// The three-phase mixture of reciprocal celerity (s/km): weights, means and
// standard deviations.
constexpr double phase_weight[3] = {0.0539, 0.0899, 0.8562};
constexpr double phase_mean[3] = {1.0 / 0.327, 1.0 / 0.293, 1.0 / 0.26};
constexpr double phase_sd[3] = {0.066, 0.08, 0.33};

class Draw {
 public:
  explicit Draw(std::uint64_t seed) : rng_(seed) {}
  double uniform() { return std::uniform_real_distribution<double>(0, 1)(rng_); }
  double gauss() { return std::normal_distribution<double>(0, 1)(rng_); }
  // Exponential waiting time of a Poisson process of `rate` per second.
  double wait(double rate) {
    return std::exponential_distribution<double>(rate)(rng_);
  }
  double slowness() {
    for (;;) {
      double u = uniform();
      int k = 0;
      while (k < 2 && u >= phase_weight[k]) u -= phase_weight[k++];
      const double s = phase_mean[k] + phase_sd[k] * gauss();
      if (s >= 2.5 && s <= 6.0) return s;
    }
  }

 private:
  std::mt19937_64 rng_;
};

double wrap360(double a) {
  a = std::fmod(a, 360.0);
  return a < 0.0 ? a + 360.0 : a;
}

fix::Detection at_array(const Array& a, double bearing, double time) {
  fix::Detection d;
  d.station = a.name;
  d.latitude = a.latitude;
  d.longitude = a.longitude;
  d.back_azimuth = wrap360(bearing);
  d.has_time = true;
  d.time = time;
  return d;
}

void add_sources(const Config& c, Draw& draw, World& w) {
  const Geodesic& g = Geodesic::WGS84();
  for (int e = 0; e < c.events; ++e) {
    Source s;
    if (c.region_km > 0.0) {
      // Uniform over the cap: the cosine of the angular radius is uniform.
      const double cmax = std::cos(c.region_km / earth_km);
      const double delta = std::acos(1.0 - draw.uniform() * (1.0 - cmax));
      g.Direct(c.region_lat, c.region_lon, 360.0 * draw.uniform(),
               delta * earth_km * 1000.0, s.latitude, s.longitude);
    } else {
      s.latitude = std::asin(2.0 * draw.uniform() - 1.0) * 180.0 / pi;
      s.longitude = 360.0 * draw.uniform() - 180.0;
    }
    s.time = c.start + c.duration_s * draw.uniform();
    w.sources.push_back(s);
  }
}

void add_arrivals(const Config& c, Draw& draw, std::size_t a, World& w) {
  const Geodesic& g = Geodesic::WGS84();
  const Array& array = w.arrays[a];
  for (std::size_t e = 0; e < w.sources.size(); ++e) {
    const Source& s = w.sources[e];
    double m, azi1, azi2;
    g.Inverse(array.latitude, array.longitude, s.latitude, s.longitude, m,
              azi1, azi2);
    const double km = m / 1000.0;
    const double p = c.hear_max / (1.0 + std::pow(km / c.hear_half_km, 4));
    if (km > c.hear_limit_km || draw.uniform() >= p) continue;
    double first = s.time + km * draw.slowness();
    const int arrivals = draw.uniform() < c.second_arrival ? 2 : 1;
    for (int k = 0; k < arrivals; ++k) {
      const double time = k == 0 ? first : s.time + km * draw.slowness();
      if (k == 1 && std::fabs(time - first) < 60.0) break;
      const double sd =
          draw.uniform() < c.bearing_tail ? c.bearing_tail_sd : c.bearing_sd;
      const double bearing = azi1 + sd * draw.gauss();
      w.detections.push_back(
          at_array(array, bearing, time + c.pick_sd * draw.gauss()));
      w.source.push_back(static_cast<int>(e));
      w.array.push_back(static_cast<int>(a));
    }
  }
}

void add_clutter(const Config& c, Draw& draw, std::size_t a, World& w) {
  const Array& array = w.arrays[a];
  const double end = c.start + c.duration_s;
  if (c.persistent_per_hour > 0.0 && c.persistent_sources > 0) {
    const double rate = c.persistent_per_hour / 3600.0 / c.persistent_sources;
    for (int k = 0; k < c.persistent_sources; ++k) {
      const double direction = 360.0 * draw.uniform();
      const double phase = 2.0 * pi * draw.uniform();
      for (double t = c.start + draw.wait(rate); t < end; t += draw.wait(rate)) {
        const double wander =
            c.persistent_wander_deg *
            std::sin(2.0 * pi * (t - c.start) / c.persistent_period_s + phase);
        w.detections.push_back(at_array(
            array, direction + wander + c.persistent_sd * draw.gauss(), t));
        w.source.push_back(-1);
        w.array.push_back(static_cast<int>(a));
      }
    }
  }
  if (c.random_per_hour > 0.0) {
    const double rate = c.random_per_hour / 3600.0;
    for (double t = c.start + draw.wait(rate); t < end; t += draw.wait(rate)) {
      w.detections.push_back(at_array(array, 360.0 * draw.uniform(), t));
      w.source.push_back(-1);
      w.array.push_back(static_cast<int>(a));
    }
  }
}

}  // namespace

World generate(const Config& c) {
  Draw draw(c.seed);
  World w;
  w.arrays = c.arrays;
  add_sources(c, draw, w);
  for (std::size_t a = 0; a < w.arrays.size(); ++a) {
    const std::size_t from = w.detections.size();
    add_arrivals(c, draw, a, w);
    add_clutter(c, draw, a, w);
    // The array's detections in time order, as a detection file has them.
    std::vector<std::size_t> order(w.detections.size() - from);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = from + i;
    std::stable_sort(order.begin(), order.end(), [&](auto x, auto y) {
      return w.detections[x].time < w.detections[y].time;
    });
    std::vector<fix::Detection> d;
    std::vector<int> s;
    for (std::size_t i : order) {
      d.push_back(w.detections[i]);
      s.push_back(w.source[i]);
    }
    std::copy(d.begin(), d.end(), w.detections.begin() + from);
    std::copy(s.begin(), s.end(), w.source.begin() + from);
  }
  return w;
}

std::vector<Array> regional_network() {
  return {{"R1", 52.0, 3.0},  {"R2", 50.5, 13.5}, {"R3", 46.5, 6.5},
          {"R4", 44.0, 15.5}, {"R5", 41.0, 2.0},  {"R6", 47.5, 22.0},
          {"R7", 55.5, 10.0}, {"R8", 39.0, 9.0}};
}

std::vector<Array> global_network() {
  // A Fibonacci lattice of 40 points, jittered by up to 3 degrees.
  std::vector<Array> arrays;
  std::mt19937_64 rng(40);
  std::uniform_real_distribution<double> jitter(-3.0, 3.0);
  const double golden = pi * (3.0 - std::sqrt(5.0));
  for (int i = 0; i < 40; ++i) {
    const double z = 1.0 - (i + 0.5) / 20.0;
    double lat = std::asin(z) * 180.0 / pi + jitter(rng);
    double lon = std::remainder(i * golden * 180.0 / pi + 17.0, 360.0) +
                 jitter(rng);
    lat = std::clamp(lat, -89.0, 89.0);
    if (lon > 180.0) lon -= 360.0;
    if (lon < -180.0) lon += 360.0;
    char name[16];
    std::snprintf(name, sizeof name, "G%02d", i + 1);
    arrays.push_back({name, lat, lon});
  }
  return arrays;
}

namespace {

Config regional(const char* name, std::uint64_t seed, double days, int events) {
  Config c;
  c.name = name;
  c.seed = seed;
  c.duration_s = days * 86400.0;
  c.arrays = regional_network();
  c.events = events;
  c.region_lat = 47.0;
  c.region_lon = 10.0;
  c.region_km = 1300.0;
  return c;
}

}  // namespace

Config clean() { return regional("clean", 101, 3.0, 60); }

Config typical() {
  Config c = regional("typical", 202, 7.0, 160);
  c.persistent_per_hour = 1.0;
  c.random_per_hour = 0.5;
  return c;
}

Config hard() {
  Config c = regional("hard", 303, 7.0, 400);
  c.persistent_sources = 2;
  c.persistent_per_hour = 4.0;
  c.random_per_hour = 2.0;
  return c;
}

Config global() {
  Config c;
  c.name = "global";
  c.seed = 404;
  c.duration_s = 7.0 * 86400.0;
  c.arrays = global_network();
  c.events = 400;
  c.hear_half_km = 3500.0;
  c.hear_max = 0.95;
  c.hear_limit_km = 4000.0;
  c.persistent_sources = 2;
  c.persistent_per_hour = 2.75;
  c.random_per_hour = 0.25;
  return c;
}

Config global_month() {
  Config c = global();
  c.name = "global-month";
  c.seed = 505;
  c.duration_s = 30.0 * 86400.0;
  c.events = 1500;
  return c;
}

}  // namespace world
