#pragma once
/// @file
/// The boxes of JP2 files, read and written.
/// @see ITU-T T.800, annex I

#include <string>
#include <vector>

#include "bits.h"
#include "diag.h"
#include "jpeg2000.h"

namespace j2k {

struct Box {
  uint32_t type = 0;
  size_t offset = 0;  ///< of its header in the file
  int depth = 0;      ///< 0: not inside another
  ByteSpan content;
};

constexpr uint32_t boxType(const char (&name)[5]) {
  return uint32_t(uint8_t(name[0])) << 24 | uint32_t(uint8_t(name[1])) << 16 |
         uint32_t(uint8_t(name[2])) << 8 | uint8_t(name[3]);
}
/// Four letters; others than letters, digits and blanks as in C.
std::string boxName(uint32_t type);

/// What boxes tell of a picture.
struct BoxInfo {
  std::vector<Box> boxes;  ///< all, those inside super boxes behind them
  bool hasHeader = false;
  int width = 0, height = 0, components = 0;
  int depth = 0;                ///< bits - 1 | 128 if signed, 255: in bpcc
  std::vector<uint8_t> depths;  ///< bpcc
  ColourSpace colour = ColourSpace::unspecified;
  int enumerated = 0;
  std::vector<uint8_t> profile;
  ColourBoxes colours;
  double captureResolution[2] = {0, 0}, displayResolution[2] = {0, 0};  ///< points a metre, y, x
  std::vector<ByteSpan> xml, uuids;
  ByteSpan codestream;
  size_t codestreamOffset = 0;
};

/// A codestream without boxes gives itself.
BoxInfo readBoxes(ByteSpan file, Reporter& report);

/// All boxes up to the content of the codestream box, which will have at most so many bytes.
void writeBoxes(std::vector<uint8_t>& out, const PictureInfo& info, uint64_t streamBytes);
/// Tells the codestream box its length. @param stream  where the content begins that ends the file
void finishBoxes(std::vector<uint8_t>& out, size_t stream);

}  // namespace j2k
