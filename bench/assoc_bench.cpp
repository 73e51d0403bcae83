// The association against synthetic worlds: generates each world (seeded),
// associates its detections with the default options, and prints the
// figures of bench/README.md against their targets.
//
//   assoc_bench [--jobs=N] [--threshold=X] [WORLD...]
//
// WORLD: clean, typical, hard, global, month (all but month by default).

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "assoc/associate.h"
#include "world/score.h"
#include "world/world.h"

namespace {

world::Config config(const std::string& name) {
  if (name == "clean") return world::clean();
  if (name == "typical") return world::typical();
  if (name == "hard") return world::hard();
  if (name == "global") return world::global();
  if (name == "month") return world::global_month();
  std::fprintf(stderr, "assoc_bench: unknown world %s\n", name.c_str());
  std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
  assoc::Options options;
  std::vector<std::string> names;
  bool locate = true;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--jobs=", 7) == 0)
      options.jobs = static_cast<unsigned>(std::atoi(argv[i] + 7));
    else if (std::strncmp(argv[i], "--threshold=", 12) == 0)
      options.threshold = std::atof(argv[i] + 12);
    else if (std::strncmp(argv[i], "--copies=", 9) == 0)
      options.copies = static_cast<unsigned>(std::atoi(argv[i] + 9));
    else if (std::strncmp(argv[i], "--max-false=", 12) == 0)
      options.max_false = std::atof(argv[i] + 12);
    else if (std::strcmp(argv[i], "--no-locate") == 0)
      locate = false;
    else
      names.push_back(argv[i]);
  }
  if (names.empty()) names = {"clean", "typical", "hard", "global"};
  std::printf("%-8s %6s %6s %6s | %6s %6s %6s %6s | %5s %5s | %8s %8s %5s | %6s\n",
              "world", "dets", "events", "found", "recall", "rec4+", "rec2",
              "false", "prec", "prrec", "loc_km", "true_km", "ratio", "cpu_s");
  for (const std::string& name : names) {
    const world::Config c = config(name);
    const world::World w = world::generate(c);
    const auto t0 = std::chrono::steady_clock::now();
    const assoc::Result result = assoc::associate(w.detections, options);
    const std::vector<assoc::Event>& events = result.events;
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0)
            .count();
    std::vector<std::vector<std::size_t>> groups;
    for (const assoc::Event& e : events) groups.push_back(e.detections);
    const world::Score s = world::score(w, groups);
    world::Location l;
    if (locate) l = world::location(w, groups, options.settings);
    std::printf(
        "%-8s %6zu %6d %6d | %6.3f %6.3f %6.3f %6.3f | %5.3f %5.3f | %8.1f "
        "%8.1f %5.2f | %6.2f\n",
        name.c_str(), w.detections.size(), s.events, s.reported, s.recall(),
        s.recall4(), s.recall2(), s.false_fraction(), s.precision(),
        s.pair_recall(), l.median_grouped_km, l.median_true_km,
        l.median_true_km > 0 ? l.median_grouped_km / l.median_true_km : 0.0,
        seconds);
    if (options.copies)
      std::printf("         copies: threshold %.2f, %.1f false events expected (%.3f), %d found\n",
                  result.threshold, result.expected_false(result.threshold),
                  result.expected_false(result.threshold) / s.reported,
                  s.false_clutter + s.false_split);
    std::printf("         false: %d mostly clutter, %d second pieces\n", s.false_clutter, s.false_split);
    std::fflush(stdout);
  }
  return 0;
}
