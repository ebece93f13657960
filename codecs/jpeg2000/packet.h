#pragma once
/// @file
/// Packets: what a layer adds to the blocks of one precinct. Headers are read into the list of a
/// block's chunks, which stay where they are in the stream until the block is decoded; and are
/// written from the lengths that rate control has chosen.
/// @see ITU-T T.800, B.9 and B.10

#include <array>
#include <cstdint>
#include <vector>

#include "bits.h"
#include "geometry.h"
#include "tagtree.h"

namespace j2k {

/// Bytes that one packet adds to one codeword segment of one block.
struct Chunk {
  const uint8_t* bytes = nullptr;
  uint32_t length = 0;
  uint8_t passes = 0;
  int32_t next = -1;
};

/// What packets have told of a block so far.
struct BlockState {
  int32_t firstChunk = -1, lastChunk = -1;
  uint8_t zeroPlanes = 0;
  uint8_t passes = 0;  ///< told, whether or not their bytes are kept
  uint8_t lengthBits = 3;
  bool included = false;
};

/// One precinct being read: its blocks band by band.
struct PrecinctState {
  struct PerBand {
    BlockGrid grid;
    TagTree inclusion, zeroPlanes;
    std::vector<BlockState> blocks;
  };
  PrecinctState(const Resolution& resolution, int64_t precinct);
  /// What one takes in memory, known before it is made.
  static int64_t bytes(const Resolution& resolution, int64_t precinct);

  int64_t index;
  int bandCount;
  std::array<PerBand, 3> bands;
  int layers = 0;        ///< packets read
  bool damaged = false;  ///< a packet is missing: what follows cannot be read
};

enum class PacketResult { good, damaged, ended };

class PacketReader {
 public:
  explicit PacketReader(std::vector<Chunk>& chunks) : m_chunks(chunks) {}

  /// Reads the header from `header`, and hands out body bytes from `body`; both are moved on. The
  /// two may be the same object. A body that is cut off gives the blocks that are complete.
  /// @param style  sum of rkdCodeBlock...
  /// @param keep   else the packet is only stepped over
  PacketResult read(PrecinctState& precinct, int layer, int style, bool keep, ByteSpan& header,
                    ByteSpan& body);
  /// @name Of the packet that was read
  /// @{
  bool sawEph = false;  ///< behind its header
  size_t headerBytes = 0, bodyBytes = 0;
  int blocks = 0;  ///< that it adds something to
                   /// @}

 private:
  struct Contribution {
    BlockState* block;
    Chunk chunk;
  };
  bool readBlock(BitReader& in, PrecinctState::PerBand& band, int index, int layer, int style);
  bool readBody(ByteSpan& body, bool keep);

  std::vector<Chunk>& m_chunks;
  std::vector<Contribution> m_found;
};

/// A place among the passes of a coded block.
struct PassRecord {
  uint32_t length = 0;  ///< BYTES up to here
  float slope = 0;      ///< of distortion against bytes since the last candidate; 0: never cut here
  double distortion = 0;  ///< squared error that is gone by here, weighted
};

/// A block with all the passes that were coded.
struct CodedBlock {
  const uint8_t* bytes = nullptr;
  const PassRecord* passes = nullptr;
  uint8_t count = 0;
  uint8_t planes = 0;
  bool complete = true;  ///< no pass was left uncoded
};

/// One precinct being written.
struct PrecinctOutput {
  struct Written {
    uint8_t passes = 0;  ///< in earlier layers
    uint8_t lengthBits = 3;
  };
  struct PerBand {
    BlockGrid grid;
    TagTree inclusion, zeroPlanes;
    size_t firstBlock = 0;  ///< in the tile's list
    std::vector<Written> blocks;
  };
  int bandCount = 0;
  std::array<PerBand, 3> bands;
};

/// Writes the header of one packet.
/// @param blocks  of the tile
/// @param cuts    passes of every block of the tile in this layer and those before
/// @return bytes of the body
size_t writePacketHeader(std::vector<uint8_t>& header, PrecinctOutput& precinct, int layer,
                         int style, const CodedBlock* blocks, const uint8_t* cuts);

}  // namespace j2k
