// The vestra-map command: the whole program lives in the library.

#include <iostream>
#include <string>
#include <vector>

#include "map/map_main.h"

int main(int argc, char** argv) {
  return vestra::map::map_main(std::vector<std::string>(argv + 1, argv + argc),
                               std::cin, std::cout, std::cerr);
}
