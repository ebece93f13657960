/// Direct Huffman coding: blocks as a raw bit stream, without a state.
#include "rkhuff.h"

namespace {

rkHuffCoefs coefs;
rkBitVector stream;
rkVector decoded;
int position, previousDC;

template <class B>
rkHuffCoder<B> coder;

template <class B, class Function>
int encode(Function function) {
  position = previousDC = 0;
  return rkPerBlock(coefs.total() / 64, [function](int i) {
    return function(coefs.data() + i, stream.data8u(), stream.length(), &position, &previousDC,
                    coder<B>.encodeDC, coder<B>.encodeAC);
  });
}

template <class B, class Function>
int decode(Function function) {
  position = previousDC = 0;
  return rkPerBlock(coefs.total() / 64, [function](int i) {
    return function(stream.data8u(), stream.length(), &position, decoded.data16s() + i, &previousDC,
                    coder<B>.decodeDC, coder<B>.decodeAC);
  });
}

class TimjHuffDirect : public rkTest {
 public:
  explicit TimjHuffDirect(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
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
    if (coefs.total() == 0) return true;
    const int status = encode<rkLibrary>(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1);
    if (checkStatus(status, "rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1") > TZ_WARNING) return false;
    rkPrintStreamInfo((position + 7) / 8, coefs.total());
    if (func().baseName().find("Encode", 0) >= 0) {
      std::memset(stream.data(), 0, static_cast<std::size_t>(stream.length()));
    }
    return true;
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
};

RK_SUITE(TimjHuffDirect, "src/p_jhuffdir_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1)
             RK_COUNTERS(position, previousDC));

RK_REG_X(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1, encode<B>(F));
RK_REG_X(rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1, decode<B>(F));

}  // namespace
