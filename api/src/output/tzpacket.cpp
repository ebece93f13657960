// Values into bytes and out of them.
#include "tzpacket.h"

tzPacket& tzPacket::operator<<(const std::string& text) {
  *this << text.size();
  m_bytes += text;
  return *this;
}

tzPacket& tzPacket::operator>>(std::string& text) {
  std::size_t length = 0;
  *this >> length;
  if (const char* const bytes = take(length)) text.assign(bytes, length);
  return *this;
}

tzPacket& tzPacket::operator>>(tzString& text) {
  std::string plain = text.str();
  *this >> plain;
  text = plain;
  return *this;
}

const char* tzPacket::take(std::size_t length) {
  m_good = m_good && length <= m_bytes.size() - m_at;
  if (!m_good) return nullptr;
  m_at += length;
  return m_bytes.data() + m_at - length;
}
