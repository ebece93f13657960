#pragma once
/// @file
/// Adapter of the library's block coder: quantisation on the way between wavelet planes and blocks,
/// and the bytes and passes of a block.

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/owner.h"
#include "packet.h"
#include "plane.h"
#include "rkd/rkdjpeg.h"

namespace j2k {

/// Passes that the codeword segment beginning with this pass can hold.
int segmentRoom(int pass, int style);

/// How the coefficients of one band are coded.
struct BandCoding {
  int orientation = 0;
  int style = 0;
  int planes = 0;  ///< that the band can have, the region of interest's shift included
  int roiShift = 0;
  bool reversible = true;
  float step = 1;  ///< of irreversible coefficients
};

/// One for each thread.
class BlockDecoder {
 public:
  BlockDecoder();

  /// Decodes a block and stores what of it lies in the plane.
  /// @param x,y  of the block's first coefficient in the plane; may be negative
  /// @return false when the bytes were seen to be damaged
  bool decode(const BlockState& block, const std::vector<Chunk>& chunks, const BandCoding& coding,
              const Rect& rect, const PlaneView& plane, int64_t x, int64_t y);

 private:
  const uint8_t* gather(const BlockState& block, const std::vector<Chunk>& chunks, int passes,
                        int style, int& length);

  base::Made<RkdiDecodeCodeBlockState, &rkdiDecodeCodeBlockStateFree_JPEG2K> m_state;
  std::vector<uint8_t> m_bytes;
  std::vector<int> m_lengths;
  std::vector<int32_t> m_coefficients;
};

/// Memory that grows in large pieces and never moves.
class Arena {
 public:
  uint8_t* take(size_t bytes, size_t alignment);
  /// BYTES that it has taken from the system.
  int64_t size() const { return m_size; }

 private:
  static constexpr size_t pieceSize = size_t(1) << 18;
  std::vector<std::unique_ptr<uint8_t[]>> m_pieces;
  size_t m_left = 0;
  int64_t m_size = 0;
  uint8_t* m_next = nullptr;
};

/// Where to stop coding a block.
struct Depth {
  int mostPasses, fewestPasses;
  double leastGain;  ///< of three passes, in squares of the step a byte; 0: any
};

/// One for each thread.
class BlockEncoder {
 public:
  BlockEncoder();

  /// Quantises a block.
  /// @param roi  part of the block, in its own coordinates, that is shifted above the rest
  void load(const PlaneView& block, const BandCoding& coding, const Rect& roi);
  int planes() const { return m_planes; }
  /// Codes what was loaded. @param weight  of a squared error of one step
  CodedBlock encode(const BandCoding& coding, double weight, const Depth& depth, Arena& arena);

 private:
  base::Made<RkdiEncodeCodeBlockState, &rkdiEncodeCodeBlockStateFree_JPEG2K> m_state;
  std::vector<int32_t> m_coefficients;
  RkdiSize m_size{};
  int m_planes = 0;
  bool m_inHalves = false;  ///< the lowest plane of the coefficients is not coded
};

}  // namespace j2k
