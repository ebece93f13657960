/// Huffman coding of rows of lossless differences in four planes.
#include "rkhuff.h"

namespace {

constexpr int kPlanes = 4;

RkdiSize size;
rkHuffCoefs picture;
rkVector differences[kPlanes], decoded[kPlanes];
rkBitVector stream;
int position, marker;

rkHuffCoders coders;

template <class B>
int restore() {
  position = marker = 0;
  return coders.of<B>().restore();
}

template <class B, class Function>
int encodeRows(Function encode) {
  auto& c = coders.of<B>();
  const typename rkHuffman<B>::EncodeSpec* specs[kPlanes] = {c.encodeDC, c.encodeDC, c.encodeDC,
                                                             c.encodeDC};
  position = 0;
  int status = 0;
  const auto call = [&](int y, int flush) {
    const int16_t* rows[kPlanes];
    for (int p = 0; p < kPlanes; ++p) rows[p] = differences[p].data16s() + y * size.width;
    return encode(rows, stream.data8u(), stream.length(), &position, size.width, specs,
                  c.encodeState.get(), flush);
  };
  for (int y = 0; y < size.height && status == 0; ++y) status = call(y, 0);
  return status != 0 || size.height == 0 ? status : call(0, 1);
}

template <class B, class Function>
int decodeRows(Function decode) {
  auto& c = coders.of<B>();
  const typename rkHuffman<B>::DecodeSpec* specs[kPlanes] = {c.decodeDC, c.decodeDC, c.decodeDC,
                                                             c.decodeDC};
  position = 0;
  int status = 0;
  for (int y = 0; y < size.height && status == 0; ++y) {
    int16_t* rows[kPlanes];
    for (int p = 0; p < kPlanes; ++p) rows[p] = decoded[p].data16s() + y * size.width;
    status = decode(stream.data8u(), stream.length(), &position, rows, &marker, size.width, specs,
                    c.decodeState.get());
  }
  return status;
}

class TimjHuffmanRow : public rkTest {
 public:
  explicit TimjHuffmanRow(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    regSizeParm(g_upperSize);
    rkListUpperSizes();
    regParm(g_huffPicture);
    return true;
  }

  bool initData() override {
    tool().setLoopFactor(-3);
    if (!picture.create(g_upperSize.value(), g_huffPicture.value())) return false;
    size = picture.image().imageSize();
    const int total = size.width * size.height;
    if (!stream.createBitVector(4 * kPlanes * total) ||
        !coders.alloc(rkStandardDC, rkStandardAC, verifying())) {
      return false;
    }
    for (int p = 0; p < kPlanes; ++p) {
      differences[p].init(rk16s);
      decoded[p].init(rk16s);
      if (!differences[p].createVector(total, rkModeZero) ||
          !decoded[p].createVector(total, rkModeZero)) {
        return false;
      }
      fillDifferences(p);
    }
    return total == 0 || prepare();
  }

  void flushData() override {
    picture.flush();
    stream.deleteVector();
    for (rkVector& plane : differences) plane.deleteVector();
    for (rkVector& plane : decoded) plane.deleteVector();
    coders.free();
  }

  /// Pixels, of four samples each.
  double getDivisor() const override { return double(size.width) * size.height; }
  tzString getUnit() const override { return "px"; }

 private:
  /// Each plane takes its differences to another neighbour, so that they are not alike.
  static void fillDifferences(int plane) {
    for (int y = 0; y < size.height; ++y) {
      const auto* row = static_cast<const uint8_t*>(picture.image().getRowPointer(y));
      int16_t* out = differences[plane].data16s() + y * size.width;
      for (int x = 0; x < size.width; ++x) {
        out[x] = static_cast<int16_t>(row[x] - (x > plane ? row[x - 1 - plane] : 128));
      }
    }
  }

  bool prepare() {
    restore<rkLibrary>();
    const int status = encodeRows<rkLibrary>(rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1);
    if (checkStatus(status, "rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1") > TZ_WARNING) return false;
    rkPrintStreamInfo(position, size.width * size.height);
    if (func().baseName().find("Encode", 0) >= 0) {
      std::memset(stream.data(), 0, static_cast<std::size_t>(stream.length()));
    }
    restore<rkLibrary>();
    return true;
  }
};

RK_SUITE(TimjHuffmanRow, "src/p_jhuffrow_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1)
             RK_COUNTERS(position, marker));

RK_REG_I_X(rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1, restore, encodeRows<B>(F));
RK_REG_I_X(rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4, restore, decodeRows<B>(F));

}  // namespace
