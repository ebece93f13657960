// Our code blocks, wrapped in a codestream of one tile and one block, through another decoder.
#include <bit>

#include "blockkit.h"
#include "peerkit.h"

using namespace blockkit;
using rkdkit::Random;
using rkdkit::sz;

namespace {

/// Marker segments, big-endian.
class Stream {
 public:
  Stream& put(unsigned value, int bytes) {
    while (bytes-- > 0) m_bytes.push_back(uint8_t(value >> 8 * bytes));
    return *this;
  }
  void append(const Bytes& bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
  const Bytes& bytes() const { return m_bytes; }

 private:
  Bytes m_bytes;
};

/// Bits of a packet header: a byte behind 0xFF begins with a 0.
class HeaderBits {
 public:
  void put(unsigned value, int count) {
    while (count-- > 0) {
      if (m_left == 0) {
        m_left = !m_bytes.empty() && m_bytes.back() == 0xFF ? 7 : 8;
        m_bytes.push_back(0);
      }
      m_bytes.back() |= uint8_t((value >> count & 1) << --m_left);
    }
  }
  Bytes end() {
    if (!m_bytes.empty() && m_bytes.back() == 0xFF) m_bytes.push_back(0);
    return m_bytes;
  }

 private:
  Bytes m_bytes;
  int m_left = 0;
};

void putPassCount(HeaderBits& header, int passes) {
  if (passes == 1) {
    header.put(0, 1);
  } else if (passes == 2) {
    header.put(0b10, 2);
  } else if (passes <= 5) {
    header.put(0b1100u | unsigned(passes - 3), 4);
  } else if (passes <= 36) {
    header.put(0b1111, 4);
    header.put(unsigned(passes - 6), 5);
  } else {
    header.put(0b111111111, 9);
    header.put(unsigned(passes - 37), 7);
  }
}

/// The only packet: one block, included, its passes, its segments.
Bytes packet(const Coded& coded, int passes, int style, int maxPlanes) {
  HeaderBits header;
  header.put(1, 1);                                // not empty
  header.put(1, 1);                                // the block is in this layer
  header.put(1, maxPlanes - coded.bitPlanes + 1);  // planes that are zero
  putPassCount(header, passes);
  const std::vector<int> lengths = coded.segments(passes);
  std::vector<int> passesOf;
  for (int pass = 0; pass < passes;) {
    int count = 0;
    rkdiGetCodeBlockSegment_JPEG2K(pass, style, &count);
    passesOf.push_back(std::min(count, passes - pass));
    pass += count;
  }
  const auto floorLog2 = [](int n) { return int(std::bit_width(unsigned(n))) - 1; };
  int lengthBits = 3;
  for (size_t i = 0; i < lengths.size(); ++i) {
    lengthBits =
        std::max(lengthBits, int(std::bit_width(unsigned(lengths[i]))) - floorLog2(passesOf[i]));
  }
  for (int i = 3; i < lengthBits; ++i) header.put(1, 1);
  header.put(0, 1);
  for (size_t i = 0; i < lengths.size(); ++i) {
    header.put(unsigned(lengths[i]), lengthBits + floorLog2(passesOf[i]));
  }
  Bytes bytes = header.end();
  const Bytes body = coded.firstBytes(passes);
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

/// One signed component without decomposition levels: its samples are the LL coefficients.
Bytes codestream(const Coded& coded, int passes, const Shape& shape, int precision) {
  const unsigned width = unsigned(shape.size.width);
  const unsigned height = unsigned(shape.size.height);
  const auto exponent = [](unsigned n) {
    return unsigned(std::max(2, int(std::bit_width(n - 1))));
  };
  Stream s;
  s.put(0xFF4F, 2);
  s.put(0xFF51, 2).put(41, 2).put(0, 2).put(width, 4).put(height, 4).put(0, 8);
  s.put(width, 4).put(height, 4).put(0, 8).put(1, 2);
  s.put(0x80 | unsigned(precision - 1), 1).put(0x0101, 2);
  s.put(0xFF52, 2).put(12, 2).put(0, 1).put(0, 1).put(1, 2).put(0, 1);
  s.put(0, 1).put(exponent(width) - 2, 1).put(exponent(height) - 2, 1);
  s.put(unsigned(shape.style), 1).put(1, 1);
  const int guardBits = 2;
  s.put(0xFF5C, 2).put(4, 2).put(guardBits << 5, 1).put(unsigned(precision) << 3, 1);
  const Bytes data = packet(coded, passes, shape.style, precision + guardBits - 1);
  s.put(0xFF90, 2).put(10, 2).put(0, 2).put(unsigned(14 + data.size()), 4).put(1, 2);
  s.put(0xFF93, 2);
  s.append(data);
  s.put(0xFFD9, 2);
  return s.bytes();
}

class CodeBlockPeer : public peerkit::PeerTest {
 protected:
  CodeBlockPeer() : PeerTest("opj_decompress") {}

  /// The samples that opj_decompress makes of a codestream.
  Coefficients decompress(const Bytes& stream) const {
    write("block.j2k", stream);
    const Bytes raw = made("-i " + file("block.j2k") + " -o " + file("block.rawl"), "block.rawl");
    Coefficients samples;
    for (size_t i = 0; i + 1 < raw.size(); i += 2) {
      samples.push_back(int16_t(raw[i] | raw[i + 1] << 8));
    }
    return samples;
  }
};

TEST_F(CodeBlockPeer, DecodesOurBlocksOfEveryStyleAsWeDo) {
  constexpr int precision = 16;  // the raw file then keeps the sign
  Random random;
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  const std::vector<RkdiSize> sizes = {sz(64, 64), sz(4, 1024), sz(1024, 4), sz(7, 13), sz(1, 1)};
  for (int style = 0; style < 64; style += rkdkit::exhaustive() ? 1 : 3) {
    const Shape shape = {sizes[size_t(style) % sizes.size()], rkdBandLL, style};
    Coefficients data = filled(style % 2 == 0 ? Fill::dense : Fill::picture, shape.size, random);
    data[0] = 3000;  // so that there are passes to cut off
    const Coded coded = encoder.encode(data, shape);
    for (const int passes : {coded.passes, coded.passes * 2 / 3, coded.passes / 3}) {
      const Coefficients ours = decoder.decode(coded.firstBytes(passes), coded.segments(passes),
                                               shape, coded.bitPlanes, passes);
      EXPECT_EQ(ours, decompress(codestream(coded, passes, shape, precision)))
          << shape << ", " << passes << " of " << coded.passes << " passes";
    }
    if (HasFailure()) return;
  }
}

}  // namespace
