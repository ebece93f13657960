#pragma once
/// @file
/// Through the bytes of a tile's packets: from tile-part to tile-part, over SOP markers, past
/// packets that nobody needs, and on behind damage.

#include "codestream.h"
#include "packet.h"
#include "progression.h"

namespace j2k {

class PacketWalk {
 public:
  PacketWalk(const Codestream& stream, int64_t tile, const TileHeader& header, Reporter& report);

  enum class Next {
    packet,  ///< the next packet stands here
    lost,    ///< the next packet is not there, but later ones are
    ended
  };
  /// Looks for the packet that is next in order.
  Next find();
  /// Steps over the next packet by the length that PLT or PLM tells, without looking at it.
  /// @return false where none is told
  bool skip();
  /// Whether a packet was seen to be of another length than was told, or damaged, after others had
  /// been stepped over: nothing that was read since can be trusted.
  bool misled() const { return m_misled; }
  /// Where the packet stands that `find` has found, behind an SOP marker.
  const uint8_t* place() const { return m_body.data(); }
  int64_t number() const { return m_number; }
  /// @return whether it was there whole; after damage `find` goes on as far as it can
  bool read(PrecinctState& precinct, int layer, int style, bool keep, PacketReader& reader);
  /// Steps over a packet without content. @return false when it has some
  bool skipEmpty();
  /// Behind the last packet: tells of data that belong to none.
  void finish();
  /// The packet cannot be read because an earlier one of its precinct was lost.
  void lose();

 private:
  ByteSpan& headers() { return m_header.packed ? m_packed : m_body; }
  bool takeSop();
  void takeEph(bool saw);
  bool resynchronise();
  bool lengthTold() const {
    return !m_header.packed && size_t(m_number) < m_header.packetLengths.size();
  }
  void nextPart();
  void checkLength();

  const TileHeader& m_header;
  const std::vector<TilePart>& m_parts;
  const std::vector<size_t>& m_ofTile;
  Reporter& m_report;
  std::string m_name;
  size_t m_part = 0;
  ByteSpan m_body, m_packed;
  int64_t m_number = 0;  ///< of the next packet
  int64_t m_ahead = 0;   ///< packets that SOP tells to be missing before the one that stands here
  bool m_ended = false;
  const uint8_t* m_start = nullptr;  ///< of the packet, its SOP marker included
  bool m_skipped = false, m_misled = false;
};

}  // namespace j2k
