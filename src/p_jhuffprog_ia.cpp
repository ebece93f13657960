/// Progressive Huffman coding: statistics, encoding and decoding of one scan of every kind.
#include "rkhuff.h"

namespace {

tzIterator<int> ssParm("Ss", "First index of the band, 1..63", {1});
tzIterator<int> seParm("Se", "Last index of the band, Ss..63", {63});
tzIterator<int> firstAlParm("Al", "Lowest bit of a first scan, 0..13", {1});
tzIterator<int> refineAlParm("Al", "Lowest bit of a refinement, 0..12", {0});

rkHuffCoefs coefs;
rkBitVector stream;
rkVector decoded, pristine;  // a refinement starts from what earlier scans decoded
rkVector statistics;
int position, previousDC, marker;

/// Which scan the running test codes.
struct Scan {
  bool isDC, isRefine;
  int ss, se, al;
};
Scan scan;
bool restoresCoefs;  // whether decoding changes what the next decoding starts from

rkHuffCoders coders;

template <class B>
int restore() {
  position = previousDC = marker = 0;
  if (restoresCoefs) std::memcpy(decoded.data(), pristine.data(), std::size_t(decoded.size()));
  return coders.of<B>().restore();
}

/// Calls block(offset, 0) for every block and, after the last, block(0, 1) to flush; stops at a
/// status other than 0.
template <class Block>
int eachBlock(Block block, bool flushes) {
  position = previousDC = 0;
  int status = 0;
  for (int i = 0; i < coefs.total() && status == 0; i += 64) status = block(i, 0);
  return status == 0 && flushes && coefs.total() > 0 ? block(0, 1) : status;
}

/// @name Performances, by the arguments of the kinds of scan
/// @{
template <class Function>
int countDC(Function count) {
  return eachBlock(
      [=](int i, int) {
        return count(coefs.data() + i, statistics.data32s(), &previousDC, scan.al);
      },
      false);
}

template <class B, class Function>
int countAC(Function count) {
  return eachBlock(
      [=](int i, int flush) {
        return count(coefs.data() + i, statistics.data32s(), scan.ss, scan.se, scan.al,
                     coders.of<B>().encodeState.get(), flush);
      },
      true);
}

template <class B, class Function>
int encodeDC(Function encode) {
  return eachBlock(
      [=](int i, int flush) {
        return encode(coefs.data() + i, stream.data8u(), stream.length(), &position, &previousDC,
                      scan.al, coders.of<B>().encodeDC, coders.of<B>().encodeState.get(), flush);
      },
      true);
}

template <class B, class Function>
int encodeDCBit(Function encode) {
  return eachBlock(
      [=](int i, int flush) {
        return encode(coefs.data() + i, stream.data8u(), stream.length(), &position, scan.al,
                      coders.of<B>().encodeState.get(), flush);
      },
      true);
}

template <class B, class Function>
int encodeAC(Function encode) {
  return eachBlock(
      [=](int i, int flush) {
        return encode(coefs.data() + i, stream.data8u(), stream.length(), &position, scan.ss,
                      scan.se, scan.al, coders.of<B>().encodeAC, coders.of<B>().encodeState.get(),
                      flush);
      },
      true);
}

template <class B, class Function>
int decodeDC(Function decode) {
  return eachBlock(
      [=](int i, int) {
        return decode(stream.data8u(), stream.length(), &position, decoded.data16s() + i,
                      &previousDC, &marker, scan.al, coders.of<B>().decodeDC,
                      coders.of<B>().decodeState.get());
      },
      false);
}

template <class B, class Function>
int decodeDCBit(Function decode) {
  return eachBlock(
      [=](int i, int) {
        return decode(stream.data8u(), stream.length(), &position, decoded.data16s() + i, &marker,
                      scan.al, coders.of<B>().decodeState.get());
      },
      false);
}

template <class B, class Function>
int decodeAC(Function decode) {
  return eachBlock(
      [=](int i, int) {
        return decode(stream.data8u(), stream.length(), &position, decoded.data16s() + i, &marker,
                      scan.ss, scan.se, scan.al, coders.of<B>().decodeAC,
                      coders.of<B>().decodeState.get());
      },
      false);
}
/// @}

class TimjHuffProg : public rkTest {
 public:
  explicit TimjHuffProg(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    const tzString base = func().baseName();
    scan.isDC = base.find("_DC", 0) >= 0;
    scan.isRefine = base.find("Refine", 0) >= 0;
    regSizeParm(g_upperSize);
    rkListUpperSizes();
    regParm(g_huffPicture);
    if (!scan.isDC) {
      regParm(ssParm);
      regParm(seParm);
    }
    regParm(scan.isRefine ? refineAlParm : firstAlParm);
    return true;
  }

  bool initData() override {
    tool().setLoopFactor(-3);
    scan.ss = scan.isDC ? 0 : ssParm.value();
    scan.se = scan.isDC ? 0 : seParm.value();
    scan.al = scan.isRefine ? refineAlParm.value() : firstAlParm.value();
    const bool isDecoder = func().baseName().find("Decode", 0) >= 0;
    restoresCoefs = isDecoder && scan.isRefine && !scan.isDC;
    decoded.init(rk16s);
    pristine.init(rk16s);
    statistics.init(rk32s);
    if (!coefs.create(g_upperSize.value(), g_huffPicture.value()) ||
        !stream.createBitVector(2 * coefs.total()) ||
        !decoded.createVector(coefs.total(), rkModeZero) ||
        !pristine.createVector(coefs.total(), rkModeZero) ||
        !statistics.createVector(256, rkModeZero)) {
      return false;
    }
    if (scan.isRefine) {
      sendEarlierScans(pristine.data16s());
      std::memcpy(decoded.data(), pristine.data(), std::size_t(decoded.size()));
    }
    return initSpec() && (!isDecoder || coefs.total() == 0 || prepareDecode());
  }

  void flushData() override {
    coefs.flush();
    for (rkVector* vector : {static_cast<rkVector*>(&stream), &decoded, &pristine, &statistics}) {
      vector->deleteVector();
    }
    coders.free();
  }

  double getDivisor() const override { return coefs.total() / 64.0; }
  tzString getUnit() const override { return "block"; }

 private:
  /// What a decoder has after the scans that this one refines: all bits from al + 1 upwards.
  static void sendEarlierScans(int16_t* to) {
    const int shift = scan.al + 1;
    for (int i = 0; i < coefs.total(); ++i) {
      const int v = coefs.data()[i];
      const int known = i % 64 == 0 ? v >> shift : v < 0 ? -(-v >> shift) : v >> shift;
      to[i] = static_cast<int16_t>(known * (1 << shift));
    }
  }

  /// Tables made for the scan's own statistics: the standard's have no end-of-band runs.
  bool initSpec() {
    uint8_t bits[16], values[256];
    rkHuffTable made = rkStandardAC;
    if (!coders.alloc(rkStandardDC, rkStandardAC, false)) return false;
    if (!scan.isDC) {
      const int status = scan.isRefine
                             ? countAC<rkLibrary>(rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1)
                             : countAC<rkLibrary>(rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1);
      if (checkStatus(status, "the statistics of the scan") > TZ_WARNING) return false;
      rkdiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data32s(), bits, values);
      made = {bits, values};
      std::memset(statistics.data(), 0, std::size_t(statistics.size()));
    }
    return coders.alloc(rkStandardDC, made, verifying());
  }

  bool prepareDecode() {
    coders.of<rkLibrary>().restore();
    int status = 0;
    if (scan.isDC) {
      status = scan.isRefine ? encodeDCBit<rkLibrary>(rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1)
                             : encodeDC<rkLibrary>(rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1);
    } else {
      status = scan.isRefine ? encodeAC<rkLibrary>(rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1)
                             : encodeAC<rkLibrary>(rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1);
    }
    if (checkStatus(status, "the encoder of the scan") > TZ_WARNING) return false;
    rkPrintStreamInfo(position, coefs.total());
    restore<rkLibrary>();
    return true;
  }
};

RK_SUITE(TimjHuffProg, "src/p_jhuffprog_ia",
         RK_NEEDS(RK_HUFFMAN_NEEDS, rkdiEncodeHuffmanRawTableInit_JPEG_8u,
                  rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1,
                  rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1,
                  rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1,
                  rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1,
                  rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1,
                  rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1)
             RK_COUNTERS(position, previousDC, marker));

RK_REG_LOOPS(rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, restore, countDC(F));
RK_REG_LOOPS(rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, restore, countAC<B>(F));
RK_REG_LOOPS(rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, restore, countAC<B>(F));
RK_REG_LOOPS(rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, restore, encodeDC<B>(F));
RK_REG_LOOPS(rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, restore, encodeDCBit<B>(F));
RK_REG_LOOPS(rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, restore, encodeAC<B>(F));
RK_REG_LOOPS(rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, restore, encodeAC<B>(F));
RK_REG_LOOPS(rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, restore, decodeDC<B>(F));
RK_REG_LOOPS(rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, restore, decodeDCBit<B>(F));
RK_REG_LOOPS(rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, restore, decodeAC<B>(F));
RK_REG_LOOPS(rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, restore, decodeAC<B>(F));

}  // namespace
