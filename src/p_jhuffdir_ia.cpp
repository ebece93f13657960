/// Direct Huffman coding: blocks as a raw bit stream, without a state.
#include "rkhuff.h"

namespace {

rkHuffData data;
int position, previousDC;

template <class B, class Function>
int encode(Function function) {
  position = previousDC = 0;
  return rkPerBlock(data.coefs.total() / 64, [function](int i) {
    return function(data.coefs.data() + i, data.stream.data8u(), data.stream.length(), &position,
                    &previousDC, data.coders.of<B>().encodeDC, data.coders.of<B>().encodeAC);
  });
}

template <class B, class Function>
int decode(Function function) {
  position = previousDC = 0;
  return rkPerBlock(data.coefs.total() / 64, [function](int i) {
    return function(data.stream.data8u(), data.stream.length(), &position,
                    data.decoded.data16s() + i, &previousDC, data.coders.of<B>().decodeDC,
                    data.coders.of<B>().decodeAC);
  });
}

class TimjHuffDirect : public rkHuffTest {
 public:
  explicit TimjHuffDirect(const rkLine& line) : rkHuffTest(line, data) {}

 protected:
  int encodeOnce(int& bytes) override {
    const int status = encode<rkLibrary>(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1);
    bytes = (position + 7) / 8;
    return status;
  }
};

RK_SUITE(TimjHuffDirect, "src/p_jhuffdir_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1)
             RK_COUNTERS(position, previousDC));

RK_REG_X(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1, encode<B>(F));
RK_REG_X(rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1, decode<B>(F));

}  // namespace
