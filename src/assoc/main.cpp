// The vestra-assoc command: the whole program lives in the library.

#include <iostream>
#include <string>
#include <vector>

#include "assoc/program.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  return assoc::assoc_main(std::vector<std::string>(argv + 1, argv + argc),
                           std::cin, std::cout, std::cerr);
}
