/// PackBits of rows of bytes.
#include <algorithm>

#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

tzIterator<int> lengthParm("Length", "Bytes in a row", {64, 1024, 4096});
rkVector row, packed;
int length, packedLength;
int srcPos, dstPos, written;

template <class B>
int restore() {
  srcPos = dstPos = written = 0;
  return 0;
}

class TimjPack_TIFF : public rkTest {
  RK_TEST_CLASS(TimjPack_TIFF)

 protected:
  bool canStart() override {
    regCacheParm(lengthParm, row);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    length = lengthParm.value();
    row.init(rk8u);
    packed.init(rk8u);
    const int mostPacked = length + (length + 127) / 128;
    if (!row.createVector(length, rkModeRandom) || !packed.createVector(mostPacked, rkModeZero)) {
      return false;
    }
    packedLength = mostPacked;
    mixRunsAndLiterals();
    if (length == 0 || func().baseName().find("Unpack", 0) < 0) return true;
    restore<rkLibrary>();
    const int status =
        rkdiPackBitsRow_TIFF_8u_C1(row.data8u(), length, packed.data8u(), packed.length(), &dstPos);
    if (checkStatus(status, "rkdiPackBitsRow_TIFF_8u_C1") > TZ_WARNING) return false;
    packedLength = dstPos;
    restore<rkLibrary>();
    return row.setConst(0, 0);
  }

  void flushData() override {
    row.deleteVector();
    packed.deleteVector();
  }

  double getDivisor() const override { return length; }
  tzString getUnit() const override { return "e"; }

 private:
  /// As in scanned drawings: stretches of one shade, short and long ones, and between them bytes
  /// that differ. A stretch's kind and length come from the random byte at its start.
  static void mixRunsAndLiterals() {
    uint8_t* const bytes = row.data8u();
    for (int x = 0; x < length;) {
      const int choice = bytes[x];
      const int count = std::min(2 + choice % 32 * (choice % 3), length - x);
      if (choice >= 96) std::fill_n(bytes + x, count, bytes[x]);
      x += count;
    }
  }
};

RK_SUITE(TimjPack_TIFF, "src/p_jpacktiff_ia",
         RK_NEEDS(rkdiPackBitsRow_TIFF_8u_C1) RK_COUNTERS(srcPos, dstPos, written));

RK_REG_I(rkdiPackBitsRow_TIFF_8u_C1, restore,
         F(row.data8u(), length, packed.data8u(), packed.length(), &dstPos));
RK_REG_I(rkdiUnpackBitsRow_TIFF_8u_C1, restore,
         F(packed.data8u(), packedLength, &srcPos, row.data8u(), length, &written));

}  // namespace
