// The vestra command: the whole program lives in the library.

#include "vestra.h"

int main(int argc, char** argv) { return vestra_main(argc, argv); }
