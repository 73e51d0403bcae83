// The vestra-map command: the whole program lives in the library.

#include "map/map_main.h"

int main(int argc, char** argv) { return vestra::map::map_main(argc, argv); }
