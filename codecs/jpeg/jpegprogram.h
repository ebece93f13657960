#pragma once
/// @file
/// The program `jpegcodec`: its options, and the work that they ask for.

#include <cstdio>
#include <string>
#include <vector>

#include "jpeg.h"

namespace jpeg {

/// What a command line asks for.
struct ProgramOptions {
  std::string input, output;
  EncodeOptions encode;
  DecodeOptions decode;
  bool hasColor = false, hasSampling = false;
  bool help = false;
  std::string exifFile, iccFile, tablesFile, scansFile;
  bool strip = false;
  int bench = 0;
};

/// @param error  receives one line when the result is false
bool parseOptions(const std::vector<std::string>& arguments, ProgramOptions* options,
                  std::string* error);

/// Texts of side files: a scan script, one or two tables of quantisers. `#` begins a comment.
/// @param error  receives what is wrong when the result is false
bool parseScript(const std::string& text, Script* script, std::string* error);
bool parseQuantisers(const std::string& text, std::vector<Quantisers>* tables, std::string* error);

/// Runs the program. @return its exit code
int runProgram(const std::vector<std::string>& arguments, std::FILE* out, std::FILE* errors);

}  // namespace jpeg
