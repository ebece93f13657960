// Through the bytes of a tile's packets, and on behind damage.
#include "packetwalk.h"

#include <algorithm>

namespace j2k {
namespace {

constexpr size_t sopLength = 6;

bool sopAt(ByteSpan bytes) {
  return bytes.size() >= sopLength && bytes[0] == 0xFF && bytes[1] == 0x91 && bytes[2] == 0 &&
         bytes[3] == 4;
}

bool ephAt(ByteSpan bytes) { return bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0x92; }

}  // namespace

PacketWalk::PacketWalk(const Codestream& stream, int64_t tile, const TileHeader& header,
                       Reporter& report)
    : m_header(header),
      m_parts(stream.tileParts),
      m_ofTile(stream.ofTile.at(tile)),
      m_report(report),
      m_name("tile " + std::to_string(tile)),
      m_body(m_parts[m_ofTile[0]].body),
      m_packed(header.packedHeaders) {}

/// Takes an SOP marker where one stands.
/// @return false when the packet that stands here is a later one
bool PacketWalk::takeSop() {
  if (!sopAt(m_body)) return true;
  if (!m_header.coding.sop) m_report.warn(Diag::sopUnannounced, m_name);
  const int64_t told = get16(m_body, 4);
  m_body = m_body.subspan(sopLength);
  const int64_t ahead = (told - m_number) & 0xFFFF;
  if (ahead == 0) return true;
  m_report.warn(Diag::sopWrong, m_name + ", packet " + std::to_string(m_number));
  constexpr int64_t believable = 1000;
  if (ahead > believable) return true;
  m_ahead = ahead;
  return false;
}

PacketWalk::Next PacketWalk::find() {
  if (m_ended) return Next::ended;
  if (m_ahead > 0) {
    if (--m_ahead > 0) {
      ++m_number;
      return Next::lost;
    }
    return Next::packet;
  }
  nextPart();
  if (headers().empty()) return Next::ended;
  m_start = m_body.data();
  if (takeSop()) return Next::packet;
  ++m_number;
  return Next::lost;
}

void PacketWalk::nextPart() {
  while (m_body.empty() && m_part + 1 < m_ofTile.size()) m_body = m_parts[m_ofTile[++m_part]].body;
}

bool PacketWalk::skip() {
  if (m_ended || m_ahead > 0 || !lengthTold()) return false;
  nextPart();
  const size_t length = m_header.packetLengths[size_t(m_number)];
  if (length > m_body.size()) {
    m_misled = m_skipped;
    return false;
  }
  m_body = m_body.subspan(length);
  ++m_number;
  m_skipped = true;
  return true;
}

/// The packet that was read, if it is of the length that was told.
void PacketWalk::checkLength() {
  if (!lengthTold()) return;
  const size_t length = m_header.packetLengths[size_t(m_number)];
  m_misled = m_misled || (m_skipped && size_t(m_body.data() - m_start) != length);
}

void PacketWalk::takeEph(bool saw) {
  if (saw == m_header.coding.eph) return;
  m_report.warn(saw ? Diag::sopUnannounced : Diag::ephMissing, m_name);
}

bool PacketWalk::skipEmpty() {
  ByteSpan& bytes = headers();
  if (bytes.empty() || (bytes[0] & 0x80)) return false;
  bytes = bytes.subspan(1);
  const bool eph = ephAt(bytes);
  if (eph) bytes = bytes.subspan(2);
  takeEph(eph);
  ++m_number;
  return true;
}

bool PacketWalk::read(PrecinctState& precinct, int layer, int style, bool keep,
                      PacketReader& reader) {
  const PacketResult result = reader.read(precinct, layer, style, keep, headers(), m_body);
  if (result == PacketResult::good) {
    takeEph(reader.sawEph);
    checkLength();
    ++m_number;
    return true;
  }
  m_misled = m_misled || m_skipped;
  precinct.damaged = true;
  if (result == PacketResult::damaged) {
    m_report.warn(Diag::packetDamaged, m_name + ", packet " + std::to_string(m_number));
  }
  lose();
  return false;
}

void PacketWalk::finish() {
  size_t left = m_body.size();
  for (size_t i = m_part + 1; i < m_ofTile.size(); ++i) left += m_parts[m_ofTile[i]].body.size();
  if (left > 0 && !m_ended) {
    m_report.warn(Diag::surplusData, m_name + ", " + std::to_string(left) + " bytes");
  }
}

void PacketWalk::lose() {
  ++m_number;
  if (!resynchronise()) m_ended = true;
}

/// Goes to the next SOP marker. What is between belongs to packets that are lost.
bool PacketWalk::resynchronise() {
  if (!m_header.coding.sop || m_header.packed) return false;
  while (true) {
    for (size_t i = 0; i + sopLength <= m_body.size(); ++i) {
      if (!sopAt(m_body.subspan(i))) continue;
      m_body = m_body.subspan(i);
      m_report.warn(Diag::resynchronised, m_name);
      return true;
    }
    if (++m_part >= m_ofTile.size()) return false;
    m_body = m_parts[m_ofTile[m_part]].body;
  }
}

}  // namespace j2k
