// The association's results do not depend on the order of the input, the
// number of jobs or how the input is streamed; the shifted copies measure
// clutter, not events.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <random>
#include <stdexcept>
#include <vector>

#include "assoc/associate.h"
#include "assoc/stream.h"
#include "world/world.h"

namespace {

// Two days of the regional network with clutter: three blocks, and events
// across their edges. Times in whole tens of seconds, so that arrays share
// times and the order among them must not come from the input.
const world::World& clutter_world() {
  static const world::World w = [] {
    world::Config c = world::typical();
    c.seed = 11;
    c.duration_s = 2.0 * 86400.0;
    c.events = 50;
    world::World w = world::generate(c);
    for (fix::Detection& d : w.detections) d.time = 10.0 * std::round(d.time / 10.0);
    return w;
  }();
  return w;
}

// The events as the input numbers of their detections, with what was
// located.
struct Outcome {
  std::vector<std::size_t> detections;
  double score, latitude, longitude, origin;
  bool operator==(const Outcome&) const = default;
};

std::vector<Outcome> outcome(const std::vector<assoc::Event>& events,
                             const std::vector<std::size_t>& number) {
  std::vector<Outcome> out;
  for (const assoc::Event& e : events) {
    Outcome o{{}, e.score, e.solution.latitude, e.solution.longitude,
              e.solution.origin_time};
    for (std::size_t d : e.detections) o.detections.push_back(number[d]);
    std::sort(o.detections.begin(), o.detections.end());
    out.push_back(o);
  }
  std::sort(out.begin(), out.end(), [](const Outcome& a, const Outcome& b) {
    return a.detections < b.detections;
  });
  return out;
}

TEST(AssocStream, SameEventsForAnyOrderAndNumberOfJobs) {
  const world::World& w = clutter_world();
  std::vector<std::size_t> identity(w.detections.size());
  for (std::size_t i = 0; i < identity.size(); ++i) identity[i] = i;
  const std::vector<Outcome> reference =
      outcome(assoc::associate(w.detections, assoc::Options()).events, identity);
  ASSERT_GT(reference.size(), 30u);

  // Shuffled: number[i] is the original number of the i-th detection.
  std::vector<std::size_t> number = identity;
  std::shuffle(number.begin(), number.end(), std::mt19937_64(3));
  std::vector<fix::Detection> shuffled;
  for (std::size_t i : number) shuffled.push_back(w.detections[i]);
  assoc::Options jobs;
  jobs.jobs = 3;
  EXPECT_EQ(outcome(assoc::associate(shuffled, assoc::Options()).events, number),
            reference);
  EXPECT_EQ(outcome(assoc::associate(w.detections, jobs).events, identity),
            reference);

  // Streamed block by block, each block's detections latest first, the
  // finished events taken as they come.
  assoc::Stream s(jobs);
  auto block = [&](std::size_t d) {
    return std::floor(w.detections[d].time / s.block_s());
  };
  std::vector<std::size_t> order = identity;
  std::sort(order.begin(), order.end(), [&](auto a, auto b) {
    return std::pair(block(a), w.detections[b].time) <
           std::pair(block(b), w.detections[a].time);
  });
  std::vector<assoc::Event> streamed;
  for (std::size_t d : order) {
    s.add(w.detections[d], d);
    for (assoc::Event& e : s.take()) streamed.push_back(std::move(e));
  }
  s.finish();
  for (assoc::Event& e : s.take()) streamed.push_back(std::move(e));
  EXPECT_EQ(outcome(streamed, identity), reference);
}

TEST(AssocStream, RefusesWhatItCannotPlace) {
  const assoc::Options options;
  assoc::Stream s(options);
  fix::Detection d;
  d.station = "A";
  d.has_time = true;
  d.time = 3.0 * s.block_s();
  s.add(d, 0);
  d.time = 4.0 * s.block_s() + 1.0;
  s.add(d, 1);
  fix::Detection late = d;
  late.time = 4.0 * s.block_s() - 1.0;  // a day already finished
  fix::Detection no_time = d, far_time = d, no_bearing = d;
  no_time.time = std::numeric_limits<double>::quiet_NaN();
  far_time.time = 1e300;
  no_bearing.back_azimuth = std::numeric_limits<double>::infinity();
  for (const fix::Detection& bad : {late, no_time, far_time, no_bearing})
    EXPECT_THROW(s.add(bad, 2), std::invalid_argument);
  EXPECT_THROW(assoc::associate({d, no_time}, options), std::invalid_argument);
}

TEST(AssocStream, ShiftedCopiesMeasureClutterNotEvents) {
  // Without clutter the copies find nothing (a broken shift would give
  // back the real events); with it, some of what clutter makes.
  world::Config clean = world::clean();
  clean.duration_s = 86400.0;
  clean.events = 25;
  const world::World quiet = world::generate(clean);
  assoc::Options o;
  o.copies = 2;
  const assoc::Result r = assoc::associate(quiet.detections, o);
  ASSERT_GT(r.events.size(), 20u);
  EXPECT_LE(r.expected_false(o.threshold), 0.5);

  world::Config hard = world::hard();
  hard.duration_s = 1.5 * 86400.0;
  hard.events = 80;
  const world::World noisy = world::generate(hard);
  const assoc::Result n = assoc::associate(noisy.detections, o);
  EXPECT_GE(n.expected_false(o.threshold), 1.0);
  EXPECT_LE(n.expected_false(o.threshold), 0.3 * n.events.size());

  // Asked for at most 1% false events, the threshold rises and fewer
  // events are kept.
  o.max_false = 0.01;
  const assoc::Result strict = assoc::associate(noisy.detections, o);
  EXPECT_GT(strict.threshold, o.threshold);
  EXPECT_LT(strict.events.size(), n.events.size());
  EXPECT_LE(strict.expected_false(strict.threshold),
            0.01 * strict.events.size());
}

}  // namespace
