// The program jpeg2kcodec.
#include <cstdio>
#include <exception>

#include "jpeg2kprogram.h"

int main(int argc, char** argv) {
  try {
    return j2k::runProgram(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "jpeg2kcodec: %s\n", error.what());
    return 1;
  }
}
