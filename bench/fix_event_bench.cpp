// vestra-fix: the cost of locating one event as it grows, from a handful of
// detections (an event that vestra-assoc confirms) to a day of detections
// read as one event.
//
//   BM_FixEvent/N/clutter   one event of N detections at 40 stations around a
//                           source (fewer stations than detections: several
//                           detections per station), 4 degrees and 10 s of
//                           noise; clutter is the percentage of detections
//                           whose bearing and time are random.
//
// Events of five stations, the size vestra-assoc hands over, are
// vestra_bench's BM_FixFiveStationEvent.
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

}  // namespace

BENCHMARK_MAIN();
