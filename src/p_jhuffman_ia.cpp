/// Baseline Huffman coding of blocks and of single coefficients.
#include "rkhuff.h"

namespace {

rkHuffData data;
int position, previousDC, marker;

template <class B>
int restore() {
  position = previousDC = marker = 0;
  return data.coders.of<B>().restore();
}

/// Codes every block from the start, then flushes; ends early at a status other than 0.
template <class B, class Function>
int encodeBlocks(Function encode) {
  auto& c = data.coders.of<B>();
  position = previousDC = 0;
  int status = 0;
  int offset = 0;
  for (; offset < data.coefs.total() && status == 0; offset += 64) {
    status = encode(data.coefs.data() + offset, data.stream.data8u(), data.stream.length(),
                    &position, &previousDC, c.encodeDC, c.encodeAC, c.encodeState.get(), 0);
  }
  if (status != 0 || data.coefs.total() == 0) return status;
  return encode(data.coefs.data() + offset, data.stream.data8u(), data.stream.length(), &position,
                &previousDC, c.encodeDC, c.encodeAC, c.encodeState.get(), 1);
}

template <class B, class Function>
int decodeBlocks(Function decode) {
  auto& c = data.coders.of<B>();
  position = previousDC = 0;
  int status = 0;
  for (int offset = 0; offset < data.coefs.total() && status == 0; offset += 64) {
    status = decode(data.stream.data8u(), data.stream.length(), &position,
                    data.decoded.data16s() + offset, &previousDC, &marker, c.decodeDC, c.decodeAC,
                    c.decodeState.get());
  }
  return status;
}

/// The same coefficient by coefficient, each as a value of the DC table.
template <class B, class Function>
int encodeOnes(Function encode) {
  auto& c = data.coders.of<B>();
  position = 0;
  int status = 0;
  int i = 0;
  for (; i < data.coefs.total() && status == 0; ++i) {
    status = encode(data.coefs.data() + i, data.stream.data8u(), data.stream.length(), &position,
                    c.encodeDC, c.encodeState.get(), 0);
  }
  if (status != 0 || data.coefs.total() == 0) return status;
  return encode(data.coefs.data() + i, data.stream.data8u(), data.stream.length(), &position,
                c.encodeDC, c.encodeState.get(), 1);
}

template <class B, class Function>
int decodeOnes(Function decode) {
  auto& c = data.coders.of<B>();
  position = 0;
  int status = 0;
  for (int i = 0; i < data.coefs.total() && status == 0; ++i) {
    status = decode(data.stream.data8u(), data.stream.length(), &position,
                    data.decoded.data16s() + i, &marker, c.decodeDC, c.decodeState.get());
  }
  return status;
}

class TimjHuffman : public rkHuffTest {
 public:
  explicit TimjHuffman(const rkLine& line) : rkHuffTest(line, data) {}

 protected:
  int encodeOnce(int& bytes) override {
    const bool isOne = func().baseName().find("One", 0) >= 0;
    restore<rkLibrary>();
    const int status = isOne ? encodeOnes<rkLibrary>(rkdiEncodeHuffmanOne_JPEG_16s1u_C1)
                             : encodeBlocks<rkLibrary>(rkdiEncodeHuffman8x8_JPEG_16s1u_C1);
    bytes = position;
    restore<rkLibrary>();
    return status;
  }
};

RK_SUITE(TimjHuffman, "src/p_jhuffman_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffman8x8_JPEG_16s1u_C1,
                  rkdiEncodeHuffmanOne_JPEG_16s1u_C1) RK_COUNTERS(position, previousDC, marker));

RK_REG_I_X(rkdiEncodeHuffman8x8_JPEG_16s1u_C1, restore, encodeBlocks<B>(F));
RK_REG_I_X(rkdiDecodeHuffman8x8_JPEG_1u16s_C1, restore, decodeBlocks<B>(F));
RK_REG_I_X(rkdiEncodeHuffmanOne_JPEG_16s1u_C1, restore, encodeOnes<B>(F));
RK_REG_I_X(rkdiDecodeHuffmanOne_JPEG_1u16s_C1, restore, decodeOnes<B>(F));

}  // namespace
