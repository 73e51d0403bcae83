// Writes a seeded synthetic world's detections in vestra-fix's text format
// (event "-", one detection a line, array by array), for the shell tests:
//
//   world_text SEED DAYS EVENTS CLUTTER_PER_HOUR
//
// The regional network; the clutter is two thirds persistent, one third
// random.

#include <cstdio>
#include <cstdlib>

#include "assoc/output.h"
#include "world/world.h"

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: world_text SEED DAYS EVENTS CLUTTER_PER_HOUR\n");
    return 2;
  }
  world::Config c = world::typical();
  c.seed = std::strtoull(argv[1], nullptr, 10);
  c.duration_s = std::atof(argv[2]) * 86400.0;
  c.events = std::atoi(argv[3]);
  c.persistent_per_hour = std::atof(argv[4]) * 2.0 / 3.0;
  c.random_per_hour = std::atof(argv[4]) / 3.0;
  const world::World w = world::generate(c);
  for (const fix::Detection& d : w.detections)
    std::printf("%s\n", assoc::text_detection(d, "").c_str());
  return 0;
}
