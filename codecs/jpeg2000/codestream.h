#pragma once
/// @file
/// What marker segments tell, and how they are read and written.
/// @see ITU-T T.800, annex A

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "bits.h"
#include "diag.h"
#include "geometry.h"

namespace j2k {

enum Marker : uint16_t {
  markerSoc = 0xFF4F,
  markerSot = 0xFF90,
  markerSod = 0xFF93,
  markerEoc = 0xFFD9,
  markerCap = 0xFF50,
  markerSiz = 0xFF51,
  markerCod = 0xFF52,
  markerCoc = 0xFF53,
  markerTlm = 0xFF55,
  markerPlm = 0xFF57,
  markerPlt = 0xFF58,
  markerCpf = 0xFF59,
  markerQcd = 0xFF5C,
  markerQcc = 0xFF5D,
  markerRgn = 0xFF5E,
  markerPoc = 0xFF5F,
  markerPpm = 0xFF60,
  markerPpt = 0xFF61,
  markerCrg = 0xFF63,
  markerCom = 0xFF64,
  markerSop = 0xFF91,
  markerEph = 0xFF92
};

/// Three letters, or the number of a marker that the standard does not know.
std::string markerName(int marker);

enum class Order : uint8_t { lrcp, rlcp, rpcl, pcrl, cprl };

struct ComponentCoding {
  Partition partition;
  int style = 0;  ///< sum of rkdCodeBlock...
  bool reversible = true;
};

/// Step sizes of the bands, by Band::index.
struct Quantization {
  enum Style : uint8_t { none, derived, expounded };
  Style style = none;
  int guardBits = 2;
  int count = 1;                                    ///< entries that were told
  std::array<uint16_t, 3 * maxLevels + 1> steps{};  ///< exponent << 11 | mantissa

  int exponent(int band) const;
  /// Step of a band of `gain` bits (0 LL, 1 HL and LH, 2 HH) and samples of `precision` bits.
  double step(int band, int precision, int gain) const;
  /// Bit planes that the band can have.
  int planes(int band) const { return guardBits + exponent(band) - 1; }
};

/// A stretch of packets in an order of its own.
struct Progression {
  Order order = Order::lrcp;
  int firstResolution = 0, endResolution = maxLevels + 1;
  int firstComponent = 0, endComponent = 16384;
  int endLayer = 65535;
};

/// All that it takes to read the packets of a tile.
struct Coding {
  Order order = Order::lrcp;
  int layers = 1;
  bool transform = false;  ///< of the first three components
  bool sop = false, eph = false;
  std::vector<ComponentCoding> components;
  std::vector<Quantization> quantization;
  std::vector<uint8_t> roiShift;
  std::vector<Progression> changes;

  /// What the packets follow: the changes, or one stretch of everything.
  std::vector<Progression> progressions() const;
};

struct TilePart {
  int64_t tile = 0;
  int index = 0;      ///< TPsot
  int count = 0;      ///< TNsot, 0 when it is not told
  size_t number = 0;  ///< among all tile-parts as they stand
  size_t offset = 0;  ///< of SOT
  ByteSpan header;    ///< marker segments between SOT and SOD
  ByteSpan body;
};

/// Where TLM tells a tile-part to be: right behind the one before it.
struct TileLength {
  int64_t tile = 0;
  uint32_t length = 0;  ///< BYTES from SOT on
};

struct Comment {
  bool text = false;
  ByteSpan bytes;
};

/// A codestream, its main header read and its tile-parts found.
struct Codestream {
  ImageShape shape;
  Coding coding;
  size_t firstTilePart = 0;             ///< where the main header ends
  std::vector<TileLength> tileLengths;  ///< TLM: of all tile-parts as they stand; or none
  std::vector<uint8_t> packetLengths;   ///< of all PLM segments
  std::vector<ByteSpan> lengthsOfPart;  ///< into packetLengths
  std::vector<TilePart> tileParts;      ///< of the tiles that were asked for, as they stand
  std::map<int64_t, std::vector<size_t>> ofTile;  ///< into tileParts
  std::vector<uint8_t> packedHeaders;             ///< of all PPM segments
  std::vector<ByteSpan> packedOfTilePart;         ///< into packedHeaders
  std::vector<Comment> comments;
};

/// Coding of one tile: the main header's, changed by its own headers; and the lists in these.
struct TileHeader {
  Coding coding;
  std::vector<uint8_t> packedHeaders;   ///< of all PPT segments
  bool packed = false;                  ///< headers stand apart from bodies
  std::vector<uint32_t> packetLengths;  ///< PLT or PLM; empty when not told for all
};

/// Reads what precedes the first tile-part.
Codestream readMainHeader(ByteSpan bytes, Reporter& report);
/// Finds the tile-parts of some tiles: where TLM tells them to be, or by stepping from tile-part to
/// tile-part. Of other tiles nothing but the SOT segment is looked at, with TLM not even that.
/// @param tiles  columns and rows of tiles
void findTileParts(Codestream& stream, ByteSpan bytes, const Rect& tiles, Reporter& report);
TileHeader readTileHeader(const Codestream& stream, int64_t tile, Reporter& report);

/// The marker or length that stands at `at`, both bytes within.
inline int get16(ByteSpan bytes, size_t at) {
  return base::loadBytes<uint16_t>(&bytes[at], base::ByteOrder::big);
}

/// One marker segment, for lists.
struct Segment {
  int marker = 0;
  size_t offset = 0;
  ByteSpan bytes;  ///< behind the length
};
/// Segments from `position` on, until SOT, SOD, EOC or the end.
std::vector<Segment> listSegments(ByteSpan bytes, size_t position);

/// @name Writing
/// Each appends to `out`.
/// @{
void put16(std::vector<uint8_t>& out, uint32_t value);
void put32(std::vector<uint8_t>& out, uint32_t value);
void writeMainHeader(std::vector<uint8_t>& out, const ImageShape& shape, const Coding& coding,
                     const std::string& comment);
/// SOT with the length left open; @return where it stands, for finishTilePart
size_t writeTilePart(std::vector<uint8_t>& out, int64_t tile, int index, int count);
void finishTilePart(std::vector<uint8_t>& out, size_t sot);
/// @}

}  // namespace j2k
