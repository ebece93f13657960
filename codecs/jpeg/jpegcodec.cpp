// jpegcodec: encodes and decodes JPEG files.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "jpegprogram.h"

int main(int argc, char** argv) {
  try {
    return jpeg::runProgram(std::vector<std::string>(argv + 1, argv + argc), stdout, stderr);
  } catch (const std::exception&) {  // there is one kind: out of memory
    std::fputs("jpegcodec: not enough memory\n", stderr);
    return 1;
  }
}
