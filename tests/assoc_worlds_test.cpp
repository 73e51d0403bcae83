// The association on small seeded worlds and on hand-made scenes: the
// events found, the false ones, the grouping.

#include <gtest/gtest.h>

#include <GeographicLib/Geodesic.hpp>

#include <algorithm>
#include <string>
#include <set>
#include <vector>

#include "assoc/associate.h"
#include "assoc/select.h"
#include "world/score.h"
#include "world/world.h"

namespace {

using GeographicLib::Geodesic;

constexpr double t0 = 1262304000.0;  // 2010-01-01T00:00:00Z

std::vector<std::vector<std::size_t>> groups(const assoc::Result& r) {
  std::vector<std::vector<std::size_t>> g;
  for (const assoc::Event& e : r.events) g.push_back(e.detections);
  return g;
}

// No detection in two events, and every event large enough.
void expect_well_formed(const assoc::Result& r,
                        const std::vector<fix::Detection>& detections) {
  std::set<std::size_t> seen;
  for (const assoc::Event& e : r.events) {
    EXPECT_GE(e.detections.size(), 3u);
    std::set<std::string> arrays;
    for (std::size_t d : e.detections) {
      EXPECT_TRUE(seen.insert(d).second) << "detection " << d << " twice";
      arrays.insert(detections[d].station);
    }
    EXPECT_GE(arrays.size(), 2u);
    EXPECT_NE(e.solution.status, fix::Status::no_fix);
    EXPECT_GE(e.score, assoc::Options().threshold);
  }
}

struct WorldCase {
  const char* name;
  world::Config config;
  double min_recall, min_precision, min_pair_recall;
  int max_false;
};

world::Config small(double days, int events, double persistent,
                    double random) {
  world::Config c = world::clean();
  c.seed = 7;
  c.duration_s = days * 86400.0;
  c.events = events;
  c.persistent_per_hour = persistent;
  c.random_per_hour = random;
  return c;
}

TEST(AssocWorlds, FindTheEventsOfSmallWorlds) {
  const WorldCase cases[] = {
      // 25 events in a day, no clutter.
      {"clean", small(1.0, 25, 0.0, 0.0), 0.95, 0.97, 0.85, 0},
      // 50 events in two days, 1 persistent and 0.5 random per array-hour.
      {"clutter", small(2.0, 50, 1.0, 0.5), 0.97, 0.88, 0.88, 1},
  };
  for (const WorldCase& c : cases) {
    SCOPED_TRACE(c.name);
    const world::World w = world::generate(c.config);
    const assoc::Result r = assoc::associate(w.detections, assoc::Options());
    expect_well_formed(r, w.detections);
    const world::Score s = world::score(w, groups(r));
    EXPECT_GE(s.recall(), c.min_recall);
    EXPECT_GE(s.precision(), c.min_precision);
    EXPECT_GE(s.pair_recall(), c.min_pair_recall);
    EXPECT_LE(s.false_clutter + s.false_split, c.max_false);
  }
}

// Detections of hand-made sources: bearings and times from GeographicLib,
// with the given bearing errors (degrees) and slownesses (s/km).
struct Source {
  double lat, lon, time;
};

fix::Detection heard(const world::Array& a, const Source& s, double slowness,
                     double error) {
  double m, azi1, azi2;
  Geodesic::WGS84().Inverse(a.latitude, a.longitude, s.lat, s.lon, m, azi1,
                            azi2);
  fix::Detection d;
  d.station = a.name;
  d.latitude = a.latitude;
  d.longitude = a.longitude;
  d.back_azimuth = azi1 + error < 0 ? azi1 + error + 360 : azi1 + error;
  d.has_time = true;
  d.time = s.time + m / 1000.0 * slowness;
  return d;
}

// The events as sets of detections, for comparison with the truth.
std::set<std::set<std::size_t>> as_sets(const assoc::Result& r) {
  std::set<std::set<std::size_t>> s;
  for (const assoc::Event& e : r.events)
    s.insert(std::set<std::size_t>(e.detections.begin(), e.detections.end()));
  return s;
}

TEST(AssocScenes, TwoEventsCloseInTimeAndPlaceStayApart) {
  // 155 km and ten minutes apart, both heard by the whole network.
  const Source a{46.0, 9.0, t0 + 3600.0}, b{46.0, 11.0, t0 + 4200.0};
  const double slowness[] = {3.6, 3.9, 3.4, 4.1, 3.7, 3.3, 3.8, 4.0};
  const double error[] = {1.5, -1.0, 0.5, -2.0, 2.0, -0.5, 1.0, -1.5};
  std::vector<fix::Detection> d;
  std::set<std::size_t> first, second;
  const std::vector<world::Array> arrays = world::regional_network();
  for (std::size_t i = 0; i < arrays.size(); ++i) {
    first.insert(d.size());
    d.push_back(heard(arrays[i], a, slowness[i], error[i]));
    second.insert(d.size());
    d.push_back(heard(arrays[i], b, slowness[7 - i], -error[i]));
  }
  const assoc::Result r = assoc::associate(d, assoc::Options());
  expect_well_formed(r, d);
  // Two events, each made mostly of one source's detections: at R6, east
  // of both, the two are three degrees and seconds apart and may change
  // places.
  ASSERT_EQ(r.events.size(), 2u);
  std::set<const std::set<std::size_t>*> matched;
  for (const assoc::Event& e : r.events)
    for (const auto* truth : {&first, &second}) {
      const std::size_t own = std::count_if(
          e.detections.begin(), e.detections.end(),
          [&](std::size_t k) { return truth->count(k) > 0; });
      if (own >= 6 && 3 * own >= 2 * e.detections.size())
        matched.insert(truth);
    }
  EXPECT_EQ(matched.size(), 2u);
}

TEST(AssocScenes, OneArrayMayHearAnEventTwice) {
  const std::vector<world::Array> n = world::regional_network();
  const Source s{47.0, 8.0, t0 + 7200.0};
  // A stratospheric and a thermospheric arrival at R3, one at R1 and R5.
  const std::vector<fix::Detection> d = {
      heard(n[2], s, 3.4, 1.0), heard(n[2], s, 3.9, -1.5),
      heard(n[0], s, 3.7, -1.0), heard(n[4], s, 3.8, 2.0)};
  assoc::Result r = assoc::associate(d, assoc::Options());
  EXPECT_EQ(as_sets(r), (std::set<std::set<std::size_t>>{{0, 1, 2, 3}}));
  // Two arrivals at R3 and one at R1 make an event of two arrays; with
  // three arrays required they do not.
  const std::vector<fix::Detection> two(d.begin(), d.begin() + 3);
  r = assoc::associate(two, assoc::Options());
  EXPECT_EQ(as_sets(r), (std::set<std::set<std::size_t>>{{0, 1, 2}}));
  assoc::Options three;
  three.min_arrays = 3;
  EXPECT_TRUE(assoc::associate(two, three).events.empty());
}

TEST(AssocScenes, AnEventAcrossTheAntimeridian) {
  const std::vector<world::Array> arrays = {{"FJ", -18.1, 178.4},
                                            {"TO", -21.1, -175.2},
                                            {"WS", -13.8, -172.0},
                                            {"VU", -17.7, 168.3}};
  const Source s{-16.0, 179.9, t0 + 600.0};
  std::vector<fix::Detection> d;
  const double slowness[] = {3.5, 3.9, 3.7, 3.6}, error[] = {1, -1, 2, -2};
  for (std::size_t i = 0; i < arrays.size(); ++i)
    d.push_back(heard(arrays[i], s, slowness[i], error[i]));
  const assoc::Result r = assoc::associate(d, assoc::Options());
  ASSERT_EQ(r.events.size(), 1u);
  EXPECT_EQ(r.events[0].detections.size(), 4u);
  double m;
  Geodesic::WGS84().Inverse(r.events[0].solution.latitude,
                            r.events[0].solution.longitude, s.lat, s.lon, m);
  EXPECT_LT(m, 60e3);
}

TEST(AssocScenes, NoSourceBeyondTheFarthestDistance) {
  // Four arrays about 3,000 km round a source.
  const Source s{10.0, 20.0, t0 + 1800.0};
  std::vector<fix::Detection> d;
  const double distance[] = {2900e3, 3100e3, 3000e3, 3200e3};
  const double slowness[] = {3.6, 3.8, 3.7, 3.9}, error[] = {1, -1, 1.5, -0.5};
  for (int i = 0; i < 4; ++i) {
    world::Array a{"A" + std::to_string(i), 0, 0};
    Geodesic::WGS84().Direct(s.lat, s.lon, 90.0 * i + 10.0, distance[i],
                             a.latitude, a.longitude);
    d.push_back(heard(a, s, slowness[i], error[i]));
  }
  EXPECT_EQ(as_sets(assoc::associate(d, assoc::Options())),
            (std::set<std::set<std::size_t>>{{0, 1, 2, 3}}));
  assoc::Options near;
  near.max_distance_km = 2500.0;
  EXPECT_TRUE(assoc::associate(d, near).events.empty());
}

TEST(AssocScenes, ADetectionHeldOnBothSidesOfADayEdgeGoesToTheBetterEvent) {
  // A before midnight and B after it, each heard by four arrays; A's event
  // as the day before grew it holds B's arrival at R6 too.
  const std::vector<world::Array> n = world::regional_network();
  const double edge = t0 + 86400.0;
  const Source a{47.0, 8.0, edge - 1800.0}, b{47.5, 13.0, edge + 600.0};
  std::vector<fix::Detection> d = {
      heard(n[0], a, 3.6, 1.0),  heard(n[1], a, 3.8, -1.5),
      heard(n[2], a, 3.7, 0.5),  heard(n[4], a, 3.9, -1.0),
      heard(n[1], b, 3.7, -0.5), heard(n[3], b, 3.6, 1.5),
      heard(n[6], b, 3.8, 1.0),  heard(n[5], b, 3.9, -1.0)};
  const std::size_t shared = 7;
  assoc::Options o;
  assoc::Catalogue c(o);
  std::vector<std::size_t> inputs(d.size());
  for (std::size_t i = 0; i < d.size(); ++i) inputs[i] = i;
  c.append(d, inputs, std::vector<double>(d.size(), -13.0));
  fix::Locator locator(o.settings);
  const assoc::Model model(o, locator.earth().mean_radius_km());
  const assoc::Fitter fitter(c, model, o);
  auto event = [&](const Source& s, std::vector<std::size_t> of,
                   double score) {
    assoc::Found f;
    f.h.x = geo::unit_vector(s.lat, s.lon);
    f.h.t0 = s.time;
    for (assoc::Id k = c.first(); k < c.end(); ++k)
      if (std::find(of.begin(), of.end(), c.at(k).input) != of.end())
        f.h.members.push_back(k);
    f.h.score = score;
    f.first_time = c.at(f.h.members.front()).time;
    return f;
  };
  auto inputs_of = [&](const assoc::Found& f) {
    std::set<std::size_t> s;
    for (assoc::Id k : f.h.members) s.insert(c.at(k).input);
    return s;
  };
  const std::set<std::size_t> own_a = {0, 1, 2, 3}, all_b = {4, 5, 6, 7};
  const std::set<std::size_t> with_shared = {0, 1, 2, 3, shared};
  struct Case {
    const char* name;
    double score_a, score_b;
    std::vector<std::size_t> b_before;
    std::set<std::size_t> a, b;  // what each holds after
  } cases[] = {
      // B the better: A gives the arrival back and is refitted without it.
      {"later better", 20.0, 30.0, {4, 5, 6, 7}, own_a, all_b},
      // A the better: B is refitted with its three other detections.
      {"earlier better", 30.0, 20.0, {4, 5, 6, 7}, with_shared, {4, 5, 6}},
      // Equal scores: the earlier first arrival wins.
      {"tie", 25.0, 25.0, {4, 5, 6, 7}, with_shared, {4, 5, 6}},
      // What is left of the loser is too small to be an event.
      {"loser too small", 30.0, 20.0, {5, 6, 7}, with_shared, {}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    std::vector<assoc::Found> earlier = {event(a, {0, 1, 2, 3, shared}, k.score_a)};
    std::vector<assoc::Found> later = {event(b, k.b_before, k.score_b)};
    assoc::settle_shared(earlier, later, c, fitter, locator, o);
    EXPECT_EQ(inputs_of(earlier[0]), k.a);
    EXPECT_EQ(inputs_of(later[0]), k.b);
    // A loser that stays an event is refitted and confirmed.
    for (const assoc::Found* f : {&earlier[0], &later[0]})
      if (f->h.score != k.score_a && f->h.score != k.score_b) {
        EXPECT_GE(f->h.score, o.threshold);
        EXPECT_NE(f->solution.status, fix::Status::no_fix);
      }
  }
}

TEST(AssocScenes, RandomClutterAloneMakesFewEvents) {
  // Two days of random detections, one an hour at every array: chance
  // alignments only (the calibration of the threshold).
  const world::World w = world::generate(small(2.0, 0, 0.0, 1.0));
  ASSERT_GT(w.detections.size(), 350u);
  EXPECT_LE(assoc::associate(w.detections, assoc::Options()).events.size(),
            16u);
}

TEST(AssocScenes, APersistentDirectionJoinsNoEvent) {
  // Two days of random detections at every array, and R1 detecting its
  // persistent direction six times an hour across them: what random
  // coincidences make, the persistent direction takes no part in.
  world::Config c = small(2.0, 0, 0.0, 0.3);
  world::World w = world::generate(c);
  const std::size_t random = w.detections.size();
  world::Config loud = small(2.0, 0, 6.0, 0.0);
  loud.arrays = {w.arrays[0]};
  const world::World persistent = world::generate(loud);
  w.detections.insert(w.detections.end(), persistent.detections.begin(),
                      persistent.detections.end());
  ASSERT_GT(w.detections.size() - random, 250u);
  const assoc::Result r = assoc::associate(w.detections, assoc::Options());
  for (const assoc::Event& e : r.events)
    for (std::size_t d : e.detections) EXPECT_LT(d, random);
}

}  // namespace
