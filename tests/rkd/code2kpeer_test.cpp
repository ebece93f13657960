// Our code blocks, wrapped in a codestream of one tile and one block, through another decoder; and
// another encoder's through ours.
#include <algorithm>
#include <bit>
#include <cmath>

#include "blockkit.h"
#include "peerkit.h"

using namespace blockkit;
using rkdkit::Random;
using rkdkit::sz;

namespace {

/// Marker segments, big-endian.
class Stream {
 public:
  Stream& put(uint64_t value, int bytes) {
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

/// A quantiser's step as the codestream has it: 2^(range - exponent) (1 + mantissa / 2^11).
struct Step {
  int exponent, mantissa;
  float value(int range) const { return std::ldexp(1 + float(mantissa) / 2048, range - exponent); }
};

/// One signed component without decomposition levels: its samples are the LL coefficients, without
/// quantisation unless there is a step.
Bytes codestream(const Coded& coded, int passes, const Shape& shape, int precision,
                 const Step* step = nullptr) {
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
  s.put(unsigned(shape.style), 1).put(step == nullptr ? 1 : 0, 1);
  const int guardBits = 2;
  const int planes = (step == nullptr ? precision : step->exponent) + guardBits - 1;
  if (step == nullptr) {
    s.put(0xFF5C, 2).put(4, 2).put(guardBits << 5, 1).put(unsigned(precision) << 3, 1);
  } else {
    s.put(0xFF5C, 2).put(5, 2).put(guardBits << 5 | 2, 1);
    s.put(unsigned(step->exponent << 11 | step->mantissa), 2);
  }
  const Bytes data = packet(coded, passes, shape.style, planes);
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

TEST_F(CodeBlockPeer, PlacesQuantisedCoefficientsWhereWeDo) {
  constexpr int precision = 16;
  Random random;
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  const Shape shape = {sz(64, 40), rkdBandLL, 0};
  const Coefficients data = filled(Fill::dense, shape.size, random);
  const Coded coded = encoder.encode(data, shape);
  // Steps of 2 and more: samples show the halves.
  for (const Step step : {Step{15, 0}, Step{15, 512}, Step{14, 77}}) {
    const float scale = step.value(precision);
    for (int passes = coded.passes; passes > 0; passes -= rkdkit::exhaustive() ? 1 : 4) {
      decoder.decode(coded.firstBytes(passes), coded.segments(passes), shape, coded.bitPlanes,
                     passes);
      std::vector<float> middles(data.size());
      ASSERT_EQ(rkdStsNoErr,
                Library::getMiddles(middles.data(), shape.size.width * 4, scale, decoder.state));
      Coefficients ours;
      for (const float middle : middles) ours.push_back(int32_t(std::lrint(middle)));
      ASSERT_EQ(ours, decompress(codestream(coded, passes, shape, precision, &step)))
          << passes << " of " << coded.passes << " passes, step " << scale;
    }
  }
}

/// Takes the only packet of a codestream with one block apart.
class PacketReader {
 public:
  explicit PacketReader(const Bytes& stream) : m_stream(stream) {
    while (stream.at(m_at) != 0xFF || stream.at(m_at + 1) != 0x93) ++m_at;
    m_at += 2;
  }
  unsigned bit() {
    if (m_left == 0) {
      m_left = m_stream.at(m_at - 1) == 0xFF && m_begun ? 7 : 8;
      m_begun = true;
      ++m_at;
    }
    return m_stream.at(m_at - 1) >> --m_left & 1;
  }
  unsigned bits(int count) {
    unsigned value = 0;
    while (count-- > 0) value = 2 * value + bit();
    return value;
  }
  int passes() {
    if (bit() == 0) return 1;
    if (bit() == 0) return 2;
    if (const unsigned more = bits(2); more < 3) return int(3 + more);
    if (const unsigned more = bits(5); more < 31) return int(6 + more);
    return int(37 + bits(7));
  }
  /// The bytes behind the header.
  Bytes body(int length) {
    m_left = 0;
    if (m_stream.at(m_at - 1) == 0xFF) ++m_at;
    return {m_stream.begin() + long(m_at), m_stream.begin() + long(m_at) + length};
  }

 private:
  const Bytes& m_stream;
  size_t m_at = 0;
  int m_left = 0;
  bool m_begun = false;
};

class CodeBlockOtherEncoder : public peerkit::PeerTest {
 protected:
  CodeBlockOtherEncoder() : PeerTest("opj_compress") {}
};

TEST_F(CodeBlockOtherEncoder, EndsSegmentsPredictablyAsWeExpectThem) {
  Random random;
  const RkdiSize size = sz(32, 32);
  Coefficients samples;
  std::string picture = "P5\n32 32\n255\n";
  for (int i = 0; i < size.width * size.height; ++i) {
    samples.push_back(i / 2 % 40 + random.between(-20, 20));
    picture += char(samples.back() + 128);
  }
  write("block.pgm", Bytes(picture.begin(), picture.end()));
  Decoder<Library> decoder;
  for (int style = rkdCodeBlockPredTerm; style < 64; style += style % 16 == 15 ? 17 : 1) {
    SCOPED_TRACE(style);
    const Bytes stream = made("-i " + file("block.pgm") + " -o " + file("block.j2k") + " -n 1 -M " +
                                  std::to_string(style),
                              "block.j2k");
    PacketReader packet(stream);
    ASSERT_EQ(0b11u, packet.bits(2));  // not empty, with the block
    int planes = 9;                    // 8 bits and two guard bits less 1
    while (packet.bit() == 0) --planes;
    const int passes = packet.passes();
    int lengthBits = 3, total = 0;
    while (packet.bit() == 1) ++lengthBits;
    std::vector<int> lengths;
    for (int pass = 0, count = 0; pass < passes; pass += count) {
      ASSERT_EQ(rkdStsNoErr, rkdiGetCodeBlockSegment_JPEG2K(pass, style, &count));
      count = std::min(count, passes - pass);
      lengths.push_back(int(packet.bits(lengthBits + int(std::bit_width(unsigned(count))) - 1)));
      total += lengths.back();
    }
    EXPECT_EQ(samples, decoder.decode(packet.body(total), lengths, {size, rkdBandLL, style}, planes,
                                      passes));
    EXPECT_EQ(rkdStsNoErr, decoder.status);
  }
}

}  // namespace
