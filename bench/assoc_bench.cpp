// The association against synthetic worlds (tests/world): generates each
// world (seeded), associates its detections with the default options, and
// prints the figures against their targets.
//
//   assoc_bench [OPTION...] [WORLD...]
//     WORLD: clean, typical, hard, global, month (default: all but month)
//     --jobs=N         threads (default 1)
//     --threshold=X    least score of an event (default: the engine's)
//     --copies=N       shifted copies measuring the false events
//     --max-false=F    with copies: the threshold from them
//     --no-locate      skip the location figures
//     --random=R       random clutter per array-hour instead of the world's
//     --seed=N         the worlds' seed instead of their own
//   assoc_bench --stream=WEEKS [--jobs=N]
//     global weeks generated one after the other (seeds 1001, 1002, ...)
//     and streamed through the association: time and peak memory.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "assoc/associate.h"
#include "assoc/stream.h"
#include "world/score.h"
#include "world/world.h"

namespace {

struct Targets {
  double recall, recall4, false_max, precision;
};

world::Config config(const std::string& name, Targets& t) {
  t = {0.0, 0.0, 1.0, 0.0};
  if (name == "clean") {
    t = {0.95, 0.0, 0.02, 0.93};
    return world::clean();
  }
  if (name == "typical") {
    t = {0.93, 0.97, 0.05, 0.90};
    return world::typical();
  }
  if (name == "hard") {
    t = {0.72, 0.85, 0.08, 0.82};
    return world::hard();
  }
  if (name == "global") {
    t = {0.0, 0.80, 0.15, 0.80};
    return world::global();
  }
  if (name == "month") {
    t = {0.0, 0.80, 0.15, 0.80};
    return world::global_month();
  }
  std::fprintf(stderr, "assoc_bench: unknown world %s\n", name.c_str());
  std::exit(2);
}

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0)
      .count();
}

long peak_kb() {
  rusage u;
  getrusage(RUSAGE_SELF, &u);
  return u.ru_maxrss;
}

// Global weeks streamed one after the other.
int stream(int weeks, const assoc::Options& options) {
  const auto t0 = std::chrono::steady_clock::now();
  assoc::Stream s(options);
  std::size_t detections = 0, events = 0;
  double generating = 0.0;
  for (int week = 0; week < weeks; ++week) {
    const auto g0 = std::chrono::steady_clock::now();
    world::Config c = world::global();
    c.seed = 1001 + static_cast<std::uint64_t>(week);
    c.start += week * c.duration_s;
    world::World w = world::generate(c);
    std::vector<std::size_t> order(w.detections.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) {
      return w.detections[a].time < w.detections[b].time;
    });
    generating += seconds_since(g0);
    for (std::size_t i : order) s.add(w.detections[i], detections + i);
    detections += order.size();
    events += s.take().size();
  }
  s.finish();
  events += s.take().size();
  std::printf("%d weeks: %zu detections, %zu events, %.2f s (%.2f s generating), peak %ld kB\n",
              weeks, detections, events, seconds_since(t0), generating,
              peak_kb());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  assoc::Options options;
  std::vector<std::string> names;
  bool locate = true;
  int weeks = 0;
  double random = -1.0;
  long seed = -1;
  for (int i = 1; i < argc; ++i) {
    const char* a = argv[i];
    if (std::strncmp(a, "--jobs=", 7) == 0)
      options.jobs = static_cast<unsigned>(std::atoi(a + 7));
    else if (std::strncmp(a, "--threshold=", 12) == 0)
      options.threshold = std::atof(a + 12);
    else if (std::strncmp(a, "--copies=", 9) == 0)
      options.copies = static_cast<unsigned>(std::atoi(a + 9));
    else if (std::strncmp(a, "--max-false=", 12) == 0)
      options.max_false = std::atof(a + 12);
    else if (std::strncmp(a, "--stream=", 9) == 0)
      weeks = std::atoi(a + 9);
    else if (std::strncmp(a, "--seed=", 7) == 0)
      seed = std::atol(a + 7);
    else if (std::strncmp(a, "--random=", 9) == 0)
      random = std::atof(a + 9);
    else if (std::strcmp(a, "--no-locate") == 0)
      locate = false;
    else
      names.push_back(a);
  }
  if (weeks > 0) return stream(weeks, options);
  if (names.empty()) names = {"clean", "typical", "hard", "global"};
  std::printf(
      "%-8s %6s %5s %5s | %6s %6s %6s %6s | %6s %6s | %7s %7s %5s | %6s\n",
      "world", "dets", "true", "found", "recall", "rec4+", "rec2", "false",
      "prec", "p.rec", "loc_km", "true_km", "ratio", "s");
  for (const std::string& name : names) {
    Targets t;
    world::Config c = config(name, t);
    if (random >= 0.0) c.random_per_hour = random;
    if (seed >= 0) c.seed = static_cast<std::uint64_t>(seed);
    const world::World w = world::generate(c);
    const auto t0 = std::chrono::steady_clock::now();
    const assoc::Result result = assoc::associate(w.detections, options);
    const double seconds = seconds_since(t0);
    std::vector<std::vector<std::size_t>> groups;
    for (const assoc::Event& e : result.events) groups.push_back(e.detections);
    const world::Score s = world::score(w, groups);
    world::Location l;
    if (locate) l = world::location(w, groups, options.settings);
    const double ratio =
        l.median_true_km > 0 ? l.median_grouped_km / l.median_true_km : 0.0;
    std::printf(
        "%-8s %6zu %5d %5d | %6.3f %6.3f %6.3f %6.3f | %6.3f %6.3f | %7.1f "
        "%7.1f %5.2f | %6.2f\n",
        name.c_str(), w.detections.size(), s.events, s.reported, s.recall(),
        s.recall4(), s.recall2(), s.false_fraction(), s.precision(),
        s.pair_recall(), l.median_grouped_km, l.median_true_km, ratio,
        seconds);
    auto mark = [](bool ok) { return ok ? "met" : "NOT MET"; };
    std::printf("%-8s   targets: recall %.2f %s, 4+ %.2f %s, false %.2f %s, "
                "precision %.2f %s, location %s\n",
                "", t.recall, mark(s.recall() >= t.recall), t.recall4,
                mark(s.recall4() >= t.recall4), t.false_max,
                mark(s.false_fraction() <= t.false_max), t.precision,
                mark(s.precision() >= t.precision),
                locate ? mark(ratio <= 1.15) : "-");
    std::printf("%-8s   false: %d mostly clutter, %d second pieces; events "
                "heard by 4+ arrays: %d, by 2: %d\n",
                "", s.false_clutter, s.false_split, s.events4, s.events2);
    if (options.copies)
      std::printf("%-8s   copies: threshold %.2f, %.1f false events expected "
                  "(%.3f)\n",
                  "", result.threshold, result.expected_false(result.threshold),
                  s.reported ? result.expected_false(result.threshold) / s.reported
                             : 0.0);
    std::fflush(stdout);
  }
  return 0;
}
