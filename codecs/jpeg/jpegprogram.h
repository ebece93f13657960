#pragma once
/// @file
/// The program `jpegcodec`: its options, and the work that they ask for.

#include <array>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "jpeg.h"
#include "transform.h"

namespace jpeg {

/// What the program does with its input: pixels to .jpg, .jpg to pixels, .jpg to .jpg.
enum class Road { encode, decode, copy };
inline constexpr size_t kRoads = 3;

/// What a command line asks for.
struct ProgramOptions {
  std::string input, output;
  EncodeOptions encode;
  DecodeOptions decode;
  bool hasMode = false, hasColor = false;
  bool recodes = false;  ///< asks that a copy's picture is coded anew
  bool help = false;
  std::string exifFile, iccFile, tablesFile, scansFile;
  bool strip = false, info = false;
  std::vector<std::pair<std::string, std::string>> set;  ///< Exif tags and their values
  Turn turn;
  bool turnsUpright = false;  ///< as the Exif orientation says
  int bench = 0;
  /// By road, the first option given that does nothing there; none if empty.
  std::array<std::string, kRoads> idle;
};

/// @param error  receives one line when the result is false
bool parseOptions(const std::vector<std::string>& arguments, ProgramOptions* options,
                  std::string* error);

/// Texts of side files: a scan script, one or two tables of quantisers. `#` begins a comment.
/// @param error  receives what is wrong when the result is false
bool parseScript(const std::string& text, Script* script, std::string* error);
bool parseQuantisers(const std::string& text, std::vector<Quantisers>* tables, std::string* error);

/// Where complaints go, a line each: the file and what is wrong with it.
class Complaints {
 public:
  explicit Complaints(std::FILE* errors) : errors_(errors) {}
  /// @return the program's exit code
  int fail(const std::string& file, const std::string& reason) const;
  int fail(const std::string& file, Status status) const { return fail(file, statusText(status)); }
  void warn(const std::string& file, const std::string& reason) const;
  void warn(const std::string& file, const Decoder& decoder) const;

 private:
  std::FILE* errors_;
};

/// What -exif, -icc, -qtables, -scans and -set ask for, put into options for writing.
/// @return false with the culprit and the reason
bool applySideFiles(const ProgramOptions& options, EncodeOptions* encode, std::string* culprit,
                    std::string* reason);
/// In strict mode the warning is the reason.
Status reasonOf(Status status, const Decoder& decoder);

/// From .jpg to .jpg, and what -info says of a file. @return exit codes
int copyFile(const ProgramOptions& options, const std::vector<uint8_t>& file,
             const Complaints& complaints);
int printInfo(const ProgramOptions& options, const std::vector<uint8_t>& file, std::FILE* out,
              const Complaints& complaints);

/// Runs the program. @return its exit code
int runProgram(const std::vector<std::string>& arguments, std::FILE* out, std::FILE* errors);

}  // namespace jpeg
