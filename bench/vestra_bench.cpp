// Benchmarks: the geodesic inverse against GeographicLib, one trial of the
// checked search for each method, the worst-case search of one pair, and
// whole pair loops over N stations.

#include <benchmark/benchmark.h>

#include <GeographicLib/Geodesic.hpp>

#include <cmath>
#include <ostream>
#include <random>
#include <streambuf>
#include <utility>
#include <vector>

#include "GFC.h"
#include "class_vestra.h"
#include "fix/locate.h"
#include "fix_synthetic.h"
#include "distance.h"
#include "norsar/baz_cross.h"
#include "output.h"
#include "test_support.h"
#include "vestra.h"

namespace {

struct PointPair {
  double lat1, lon1, lat2, lon2;
};

// The same seeded 10,000 point pairs for both inverse solvers; nearly
// antipodal pairs, where the iteration is cut off, are left out.
const std::vector<PointPair>& point_pairs() {
  static const std::vector<PointPair> pairs = [] {
    std::mt19937_64 rng(20261123);
    std::uniform_real_distribution<double> lat(-89.0, 89.0), lon(-180.0, 180.0);
    std::vector<PointPair> v;
    while (v.size() < 10000) {
      PointPair p{lat(rng), lon(rng), lat(rng), lon(rng)};
      if (angular_distance_deg(p.lat1, p.lon1, p.lat2, p.lon2) < 170.0)
        v.push_back(p);
    }
    return v;
  }();
  return pairs;
}

// The next index into the point pairs, wrapping without a division.
std::size_t next(std::size_t& i) {
  const std::size_t at = i;
  if (++i == point_pairs().size()) i = 0;
  return at;
}

void BM_CEarthInverse(benchmark::State& state) {
  CEarth e(CEarth::WGS_84);
  // The coordinate records are the operation's arguments: made beforehand,
  // as GeographicLib's plain doubles are.
  std::vector<std::pair<CPolarCoordinate, CPolarCoordinate>> points;
  for (const PointPair& p : point_pairs()) {
    CPolarCoordinate a, b;
    a.Set(p.lat1, p.lon1, 0.0);
    b.Set(p.lat2, p.lon2, 0.0);
    points.emplace_back(a, b);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const auto& [a, b] = points[next(i)];
    double h12, h21;
    benchmark::DoNotOptimize(e.GetSurfaceDistance(a, b, &h12, &h21));
    benchmark::DoNotOptimize(h12);
    benchmark::DoNotOptimize(h21);
  }
}
BENCHMARK(BM_CEarthInverse);

void BM_GeographicLibInverse(benchmark::State& state) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  const auto& pairs = point_pairs();
  std::size_t i = 0;
  for (auto _ : state) {
    const PointPair& p = pairs[next(i)];
    double s12, azi1, azi2;
    g.Inverse(p.lat1, p.lon1, p.lat2, p.lon2, s12, azi1, azi2);
    benchmark::DoNotOptimize(s12);
    benchmark::DoNotOptimize(azi1);
    benchmark::DoNotOptimize(azi2);
  }
}
BENCHMARK(BM_GeographicLibInverse);

// One trial of the search: the crossing and the check with its two inverse
// problems and two heap records.
void trial(benchmark::State& state, location_method method) {
  Station s1 = source("A", 67.8, 20.4, 111.0311);
  Station s2 = source("B", 64.0, 14.0, 66.4115);
  Station loc = create_station("Default", epoch, 0, 0, 0);
  bool f1 = false, f2 = false;
  for (auto _ : state) {
    benchmark::DoNotOptimize(method(s1, s2, loc));
    benchmark::DoNotOptimize(check_az(s1, s2, loc, f1, f2));
  }
}
void BM_TrialOriginal(benchmark::State& state) {
  trial(state, calculate_location_original);
}
void BM_TrialBackAzimuth(benchmark::State& state) {
  trial(state, calculate_location_norsar);
}
BENCHMARK(BM_TrialOriginal);
BENCHMARK(BM_TrialBackAzimuth);

// The worst case of one pair: tolerance 0, so all three ranges are searched
// (121 + 100 + 324 = 545 trials).
void BM_WorstCasePair(benchmark::State& state) {
  calculate_location = state.range(0) ? calculate_location_norsar
                                      : calculate_location_original;
  acceptable_deviation = 0.0;
  Station s1 = source("A", 67.8, 20.4, 111.0311);
  Station s2 = source("B", 64.0, 14.0, 66.4115);
  Station loc = create_station("Default", epoch, 0, 0, 0);
  for (auto _ : state) {
    bool f1 = false, f2 = false;
    if (!test_angle_fuzz(0, 11, s1, s2, loc, f1, f2) &&
        !test_angle_fuzz(11, 21, s1, s2, loc, f1, f2))
      test_angle_fuzz(21, 39, s1, s2, loc, f1, f2);
    benchmark::DoNotOptimize(f1);
  }
  acceptable_deviation = 45.0;
  calculate_location = calculate_location_original;
}
BENCHMARK(BM_WorstCasePair)->Arg(0)->Arg(1)->ArgName("backazimuth");

// A stream that discards what is written to it.
class null_buffer : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

// A writer that only counts the results of each kind.
class counting_writer : public output_base {
 public:
  counting_writer(std::ostream& o_, std::string& separator_)
      : output_base(o_, separator_) {}
  void valid(Station&, Station&, Station&) override { ++valid_results; }
  void invalid(Station&, Station&, Station&) override { ++invalid_results; }
  long valid_results = 0;
  long invalid_results = 0;
};

// The original method, counting its runs (for the untimed counting pass).
long method_runs = 0;
int counting_original(const Station& s1, const Station& s2, Station& loc) {
  ++method_runs;
  return calculate_location_original(s1, s2, loc);
}

// Whole pair loops: N stations on a ring of 3 degrees around 66 N, 20 E, all
// aimed at its centre (the first trial confirms) or with tolerance 0 (every
// pair's search is exhausted). The ring is turned by half a step so that no
// two stations share a meridian through the centre: such a pair's bearings
// lie on the great circle through both stations and cannot cross.
//
// One untimed pass first counts the results and the method runs, reported as
// the fraction of confirmed pairs ("valid") and the method runs per pair
// ("trials"). Reports the time per pair and per method run. In the exhausted
// case the first pair searches 121 + 100 + 324 = 545 trials, every later one
// 324 + 100 + 324 = 748, because a pair starts with the range the pair before
// it ended with.
void BM_WholeRun(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const bool exhausted = state.range(1) != 0;
  const double clat = 66.0, clon = 20.0;
  new_stations.clear();
  CPolarCoordinate centre;
  centre.Set(clat, clon, 0.0);
  for (int k = 0; k < n; ++k) {
    double a = 2 * 3.141592653589793 * (k + 0.5) / n;
    double lat = clat + 3.0 * std::cos(a);
    double lon = clon + 6.0 * std::sin(a);
    CPolarCoordinate here;
    here.Set(lat, lon, 0.0);
    double heading = 0.0;
    earth.GetSurfaceDistance(here, centre, &heading, nullptr);
    new_stations.push_back(
        source(("S" + std::to_string(k)).c_str(), lat, lon, heading));
  }
  acceptable_deviation = exhausted ? 0.0 : 45.0;
  null_buffer nb;
  std::ostream sink(&nb);
  std::string separator = "\n";

  counting_writer counter(sink, separator);
  method_runs = 0;
  calculate_location = counting_original;
  cross_pairs(counter);
  calculate_location = calculate_location_original;
  const double pairs = n * (n - 1) / 2.0;
  const double runs = static_cast<double>(method_runs);

  for (auto _ : state) {
    output_normal writer(sink, separator);
    cross_pairs(writer);
  }
  const double iterations = static_cast<double>(state.iterations());
  state.counters["pairs"] = pairs;
  state.counters["valid"] = static_cast<double>(counter.valid_results) / pairs;
  state.counters["trials"] = runs / pairs;
  state.counters["per_pair"] = benchmark::Counter(
      pairs * iterations,
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["per_trial"] = benchmark::Counter(
      runs * iterations,
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  acceptable_deviation = 45.0;
  new_stations.clear();
}
BENCHMARK(BM_WholeRun)
    ->ArgsProduct({{2, 10, 55, 200}, {0, 1}})
    ->ArgNames({"N", "exhausted"})
    ->Unit(benchmark::kMillisecond);

// vestra-fix: one event of five stations with arrival times, from the start
// to the verdict, on 256 seeded events (sources anywhere, stations 50 to
// 2,000 km away around them, 4 degrees and 10 s of noise). Against
// BM_CEarthInverse of the same run, the target is at most 200 inverses'
// worth per event. `geodesics` counts the inverse and direct problems the
// location solves per event.
void BM_FixFiveStationEvent(benchmark::State& state) {
  const GeographicLib::Geodesic& g = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 rng(20261125);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<fix::Event> events;
  for (int e = 0; e < 256; ++e) {
    std::vector<synthetic::Site> sites;
    for (int i = 0; i < 5; ++i)
      sites.push_back({72.0 * i + 40.0 * (u(rng) - 0.5), 50.0 + 1950.0 * u(rng)});
    events.push_back(synthetic::make_event(
        g, -70.0 + 140.0 * u(rng), -180.0 + 360.0 * u(rng), 1.2e9, sites,
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
BENCHMARK(BM_FixFiveStationEvent)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
