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
  /// Steps over the packet by the length that PLT told. @return false where none is told
  bool skip();
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
};

}  // namespace j2k
