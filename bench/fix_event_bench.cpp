// vestra-fix: the cost of locating one event as it grows, from a handful of
// detections (an event that vestra-assoc confirms) to a day of detections
// read as one event.
//
//   BM_FixEvent/N/clutter   one event of N detections at 40 stations around a
//                           source (fewer stations than detections: several
//                           detections per station), 4 degrees and 10 s of
//                           noise; clutter is the percentage of detections
//                           whose bearing and time are random.
//   BM_FixSmallEvent        events of five stations, one per detection, as
//                           vestra-assoc hands them over, cycling over 256
//                           seeded events.
//
// Counters: `geodesics` the inverse and direct problems solved per event,
// `used` the detections of the final fit, `crossed` the pairs crossed for
// the start.

#include <benchmark/benchmark.h>

#include <GeographicLib/Geodesic.hpp>

#include <random>
#include <vector>

#include "fix/locate.h"
#include "fix_synthetic.h"

namespace {

constexpr double t0 = 1.2e9;

void BM_FixEvent(benchmark::State& state) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  const auto n = static_cast<std::size_t>(state.range(0));
  std::mt19937_64 rng(20261201);
  const fix::Event event = synthetic::make_cluttered_event(
      g, 52.0, 21.0, t0, n, std::min<std::size_t>(n, 40),
      static_cast<double>(state.range(1)) / 100.0,
      {4.0, true, 10.0, 0.22, 0.34}, rng);
  fix::Locator locator{fix::Settings{}};
  fix::Solution s;
  for (auto _ : state) {
    s = locator.locate(event);
    benchmark::DoNotOptimize(s);
  }
  std::size_t used = 0;
  for (const fix::DetectionFit& d : s.detections) used += d.used;
  state.counters["geodesics"] = s.geodesics;
  state.counters["used"] = static_cast<double>(used);
  state.counters["crossed"] = static_cast<double>(s.pairs_crossed);
  if (s.status != fix::Status::ok) state.SkipWithError(s.reason.c_str());
}
BENCHMARK(BM_FixEvent)
    ->ArgsProduct({{100, 1000, 2000, 10000}, {0, 50}})
    ->ArgNames({"N", "clutter"})
    ->Unit(benchmark::kMillisecond);

void BM_FixSmallEvent(benchmark::State& state) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(20261125);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<fix::Event> events;
  for (int e = 0; e < 256; ++e) {
    std::vector<synthetic::Site> sites;
    for (int i = 0; i < 5; ++i)
      sites.push_back(
          {72.0 * i + 40.0 * (u(rng) - 0.5), 50.0 + 1950.0 * u(rng)});
    events.push_back(synthetic::make_event(
        g, -70.0 + 140.0 * u(rng), -180.0 + 360.0 * u(rng), t0, sites,
        {4.0, true, 10.0, 0.22, 0.34}, rng));
  }
  fix::Locator locator{fix::Settings{}};
  double geodesics = 0.0;
  std::size_t i = 0;
  for (auto _ : state) {
    fix::Solution s = locator.locate(events[i]);
    geodesics += s.geodesics;
    benchmark::DoNotOptimize(s);
    if (++i == events.size()) i = 0;
  }
  state.counters["geodesics"] =
      geodesics / static_cast<double>(state.iterations());
}
BENCHMARK(BM_FixSmallEvent)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
