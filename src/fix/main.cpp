// The vestra-fix command: the whole program lives in the library.

#include <iostream>
#include <string>
#include <vector>

#include "fix/program.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  return fix::fix_main(std::vector<std::string>(argv + 1, argv + argc),
                       std::cin, std::cout, std::cerr);
}
