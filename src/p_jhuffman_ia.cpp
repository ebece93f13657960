/// Baseline Huffman coding of blocks and of single coefficients.
#include "rkhuff.h"

namespace {

rkHuffCoefs coefs;
rkBitVector stream;
rkVector decoded;
int position, previousDC, marker;

template <class B>
rkHuffCoder<B> coder;

template <class B>
int restore() {
  position = previousDC = marker = 0;
  return coder<B>.restore();
}

/// Codes every block from the start, then flushes; ends early at a status other than 0.
template <class B, class Function>
int encodeBlocks(Function encode) {
  auto& c = coder<B>;
  position = previousDC = 0;
  int status = 0;
  int offset = 0;
  for (; offset < coefs.total() && status == 0; offset += 64) {
    status = encode(coefs.data() + offset, stream.data8u(), stream.length(), &position, &previousDC,
                    c.encodeDC, c.encodeAC, c.encodeState.get(), 0);
  }
  if (status != 0 || coefs.total() == 0) return status;
  return encode(coefs.data() + offset, stream.data8u(), stream.length(), &position, &previousDC,
                c.encodeDC, c.encodeAC, c.encodeState.get(), 1);
}

template <class B, class Function>
int decodeBlocks(Function decode) {
  auto& c = coder<B>;
  position = previousDC = 0;
  int status = 0;
  for (int offset = 0; offset < coefs.total() && status == 0; offset += 64) {
    status = decode(stream.data8u(), stream.length(), &position, decoded.data16s() + offset,
                    &previousDC, &marker, c.decodeDC, c.decodeAC, c.decodeState.get());
  }
  return status;
}

/// The same coefficient by coefficient, each as a value of the DC table.
template <class B, class Function>
int encodeOnes(Function encode) {
  auto& c = coder<B>;
  position = 0;
  int status = 0;
  int i = 0;
  for (; i < coefs.total() && status == 0; ++i) {
    status = encode(coefs.data() + i, stream.data8u(), stream.length(), &position, c.encodeDC,
                    c.encodeState.get(), 0);
  }
  if (status != 0 || coefs.total() == 0) return status;
  return encode(coefs.data() + i, stream.data8u(), stream.length(), &position, c.encodeDC,
                c.encodeState.get(), 1);
}

template <class B, class Function>
int decodeOnes(Function decode) {
  auto& c = coder<B>;
  position = 0;
  int status = 0;
  for (int i = 0; i < coefs.total() && status == 0; ++i) {
    status = decode(stream.data8u(), stream.length(), &position, decoded.data16s() + i, &marker,
                    c.decodeDC, c.decodeState.get());
  }
  return status;
}

class TimjHuffman : public rkTest {
 public:
  explicit TimjHuffman(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    m_isEncoder = func().baseName().find("Encode", 0) >= 0;
    m_isOne = func().baseName().find("One", 0) >= 0;
    regSizeParm(g_imageSize);
    regParm(g_huffPicture);
    return true;
  }

  bool initData() override {
    tool().setLoopFactor(-3);
    decoded.init(rk16s);
    if (!coefs.create(g_imageSize.value(), g_huffPicture.value()) ||
        !stream.createBitVector(2 * coefs.total()) ||
        !decoded.createVector(coefs.total(), rkModeZero) ||
        !coder<rkLibrary>.alloc(rkStandardDC, rkStandardAC) ||
        (verifying() && !coder<rkReference>.alloc(rkStandardDC, rkStandardAC))) {
      return false;
    }
    return coefs.total() == 0 || prepare();
  }

  void flushData() override {
    coefs.flush();
    stream.deleteVector();
    decoded.deleteVector();
    coder<rkLibrary>.free();
    coder<rkReference>.free();
  }

  double getDivisor() const override { return coefs.total(); }
  tzString getUnit() const override { return "px"; }

 private:
  /// Encodes once: a decoder needs the stream, and the stream's length is worth telling.
  bool prepare() {
    restore<rkLibrary>();
    const int status = m_isOne ? encodeOnes<rkLibrary>(rkdiEncodeHuffmanOne_JPEG_16s1u_C1)
                               : encodeBlocks<rkLibrary>(rkdiEncodeHuffman8x8_JPEG_16s1u_C1);
    if (checkStatus(status, "the preparing encoder") > TZ_WARNING) return false;
    rkPrintStreamInfo(position, coefs.total());
    if (m_isEncoder) std::memset(stream.data(), 0, static_cast<std::size_t>(stream.length()));
    restore<rkLibrary>();
    return true;
  }

  bool m_isEncoder = false, m_isOne = false;
};

RK_SUITE(TimjHuffman, "src/p_jhuffman_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffman8x8_JPEG_16s1u_C1,
                  rkdiEncodeHuffmanOne_JPEG_16s1u_C1) RK_COUNTERS(position, previousDC, marker));

RK_REG_I_X(rkdiEncodeHuffman8x8_JPEG_16s1u_C1, restore, encodeBlocks<B>(F));
RK_REG_I_X(rkdiDecodeHuffman8x8_JPEG_1u16s_C1, restore, decodeBlocks<B>(F));
RK_REG_I_X(rkdiEncodeHuffmanOne_JPEG_16s1u_C1, restore, encodeOnes<B>(F));
RK_REG_I_X(rkdiDecodeHuffmanOne_JPEG_1u16s_C1, restore, decodeOnes<B>(F));

}  // namespace
