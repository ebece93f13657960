#pragma once
/// @file
/// Quantisers, Huffman tables and scan scripts: the standard ones, and how they are made.

#include <array>
#include <cstdint>
#include <vector>

#include "frame.h"

namespace jpeg {

/// Natural (row by row) index of each zigzag position.
const std::array<uint8_t, 64>& zigzag();

/// 64 quantisers in natural order.
using Quantisers = std::array<uint16_t, 64>;

/// The typical tables for luminance and chrominance, scaled.
/// @param quality  1..100; 50 gives the typical tables themselves, 100 all ones
/// @see ITU-T T.81, K.1
Quantisers standardQuantisers(bool isChroma, int quality);

/// The two lists of a DHT segment.
struct HuffmanTable {
  std::array<uint8_t, 16> bits{};     ///< how many codes have 1..16 bits
  std::array<uint8_t, 256> values{};  ///< the symbols in order of their codes

  int count() const;
};

/// The typical tables. @see ITU-T T.81, K.3
const HuffmanTable& standardHuffman(bool isAc, bool isChroma);

/// One scan of a script.
struct ScriptScan {
  int componentCount = 0;
  std::array<int, kMaxComponents> component{};  ///< indices into the frame's components
  int ss = 0, se = 63, ah = 0, al = 0;
};
using Script = std::vector<ScriptScan>;

/// Scans that show the picture early and cost few bytes: DC first, then AC bands by importance,
/// low bits last. For three components of which the first is luminance, else all alike.
Script defaultScript(int componentCount, bool hasChroma);

/// Whether a script codes every coefficient's every bit, in an order that progressive decoders
/// accept: DC first, each bit after the bit above it.
/// @return ok, badScript
/// @see ITU-T T.81, G.1.1.1
Status checkScript(const Script& script, int componentCount);

}  // namespace jpeg
