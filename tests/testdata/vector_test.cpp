// Buffers and images: layout, fills, reserved copies.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

#include "capture.h"
#include "rkbitvector.h"
#include "rkimage.h"
#include "rkscale.h"
#include "rkvector.h"
#include "tzmemory.h"

namespace {

constexpr rkType kAllTypes[] = {rk8u,  rk16u, rk32u,  rk64u,  rk8s,   rk16s,  rk32s,  rk64s, rk32f,
                                rk64f, rk8sc, rk16uc, rk16sc, rk32sc, rk64sc, rk32fc, rk64fc};

std::vector<double> values(const rkVector& vector) {
  std::vector<double> all;
  all.reserve(size_t(vector.length()));
  for (int i = 0; i < vector.length(); ++i) all.push_back(vector.getIndex(i));
  return all;
}

using Values = std::vector<double>;

/// The random stream by its definition, in 64-bit arithmetic reduced at every step.
class PlainStream {
 public:
  explicit PlainStream(int64_t seed) : m_s(wrap(seed)), m_x1(step(m_s)), m_x2(step(m_x1)) {}
  int64_t next() {
    m_c = step(m_c);
    const int64_t d = m_x1 - m_x2;
    m_x2 = m_x1;
    m_x1 = m_s;
    m_s = wrap(m_borrow + d);
    m_borrow = m_s < 0 ? -1 : 0;
    if (m_s < 0) m_s = wrap(m_s - 18);
    return wrap(m_c + m_s);
  }
  unsigned int seed() const { return static_cast<unsigned int>(m_s & 0xFFFFFFFF); }

 private:
  static int64_t wrap(int64_t x) {
    x &= 0xFFFFFFFF;
    return x >= 0x80000000 ? x - 0x100000000 : x;
  }
  static int64_t step(int64_t x) { return wrap((x & 0xFFFFFFFF) * 69069 + 1013904243); }
  int64_t m_s, m_x1, m_x2;
  int64_t m_c = 0x436CBAE9;
  int64_t m_borrow = -1;
};

class Vector : public testing::Test {
 protected:
  Vector() { rkVector::m_seed = rkVector::START_SEED; }
  ~Vector() override {
    VectorAlign = VectorShift = 0;
    EXPECT_EQ(tzMallocFirst(nullptr, nullptr), nullptr) << "a buffer was left behind";
  }
};
using Fill = Vector;
using Image = Vector;

}  // namespace

TEST_F(Fill, RandomDataAreTheStreamScaledToTheRange) {
  rkVector bytes;
  bytes.init(rk8u);
  ASSERT_TRUE(bytes.createVector(16, rkModeRandom));
  EXPECT_EQ(values(bytes),
            (Values{58, 33, 111, 45, 147, 74, 70, 143, 170, 105, 139, 131, 186, 117, 251, 167}));
  EXPECT_EQ(rkVector::m_seed, 665656057u);

  struct Range {
    rkType type;
    double lo, hi;
  };
  for (const Range& range : {Range{rk16s, -300, 300}, Range{rk8s, -128, 127}, Range{rk32f, -1, 1},
                             Range{rk32u, 0, 4294967295.0}, Range{rk32s, -2147483648.0, 2147483647},
                             Range{rk64f, 0, 1e290}, Range{rk16u, 500, 400}}) {
    SCOPED_TRACE(typeToString(range.type).c_str());
    rkVector vector;
    vector.init(range.type);
    PlainStream stream(rkVector::m_seed);  // each fill goes on where the one before stopped
    ASSERT_TRUE(vector.createVector(1000, rkModeRandom, range.lo, range.hi));
    for (int i = 0; i < 1000; ++i) {
      double want = double(stream.next()) * (range.hi - range.lo) * std::ldexp(1, -32) +
                    (range.hi + range.lo) * 0.5;
      if (!isFloat(range.type)) want = std::rint(want);
      if (range.type == rk32f) want = float(want);
      ASSERT_EQ(vector.getIndex(i), want) << i;
    }
    EXPECT_EQ(rkVector::m_seed, stream.seed());
  }
}

TEST_F(Fill, RandomDataOfDefaultRange) {
  for (const rkType type : kAllTypes) {
    SCOPED_TRACE(typeToString(type).c_str());
    rkVector vector;
    vector.init(type);
    ASSERT_TRUE(vector.createVector(4000, rkModeRandom, 0, 0));
    const double lowest = isFloat(type) ? -1 : getMinValue(type);
    const double highest = isFloat(type) ? 1 : getMaxValue(type);
    const double margin = (highest - lowest) * 0.01;
    EXPECT_GE(vector.minValue(), lowest);
    EXPECT_LE(vector.minValue(), lowest + margin);
    EXPECT_LE(vector.maxValue(), highest);
    EXPECT_GE(vector.maxValue(), highest - margin);
  }
  // Bounds beyond the type are clamped; a stream of its own leaves the common one alone.
  const unsigned int before = rkVector::m_seed;
  rkVector a, b;
  a.init(rk8u);
  b.init(rk8u);
  ASSERT_TRUE(a.createVector(100) && a.setRandom(-1e9, 1e9, 5));
  ASSERT_TRUE(b.createVector(100) && b.setRandom(0, 255, 5));
  EXPECT_EQ(values(a), values(b));
  EXPECT_EQ(rkVector::m_seed, before);
}

TEST_F(Fill, ConstantsAndLimitsOfEveryType) {
  for (const rkType type : kAllTypes) {
    SCOPED_TRACE(typeToString(type).c_str());
    rkVector vector;
    vector.init(type);
    const auto expectAll = [&](double re, double im) {
      for (int i = 0; i < 3; ++i) {
        double actualRe, actualIm;
        ASSERT_TRUE(vector.getIndex(i, actualRe, actualIm));
        EXPECT_EQ(actualRe, re);
        EXPECT_EQ(actualIm, isComplex(type) ? im : 0);
      }
    };
    const bool single = partType(type) == rk32f;
    const double constant = single ? double(1.00001f) : isFloat(type) ? 1.00001 : 2;
    ASSERT_TRUE(vector.createVector(3, rkModeConst));
    expectAll(constant, constant);
    EXPECT_TRUE(vector.setVector(rkModeZero, 9, 9));
    expectAll(0, 0);
    EXPECT_TRUE(vector.setVector(rkModeOne, 9, 9));
    expectAll(1, 1);
    EXPECT_TRUE(vector.setVector(rkModeMax, 0, 0));
    expectAll(getMaxValue(type), getMaxValue(type));
    EXPECT_TRUE(vector.setVector(rkModeMin, 0, 0));
    expectAll(getMinValue(type), getMinValue(type));
    EXPECT_TRUE(vector.setVector(rkModeValue, 3, 4));
    expectAll(3, 4);
    EXPECT_TRUE(vector.setVector(SetMode(8), 5, 6));  // unknown: left as it is
    EXPECT_TRUE(vector.setVector(rkModeNone, 5, 6));
    expectAll(3, 4);
    EXPECT_TRUE(vector.setConst(1e300, -1e300));  // saturates; doubles hold it
    if (type != rk64f && type != rk64fc) expectAll(getMaxValue(type), getMinValue(type));
  }
}

TEST_F(Fill, ConversionRoundsToEvenAndSaturates) {
  EXPECT_EQ(rkConvert<uint8_t>(2.5), 2);
  EXPECT_EQ(rkConvert<uint8_t>(3.5), 4);
  EXPECT_EQ(rkConvert<uint8_t>(255.4), 255);
  EXPECT_EQ(rkConvert<uint8_t>(1e9), 255);
  EXPECT_EQ(rkConvert<int8_t>(-128.5), -128);
  EXPECT_EQ(rkConvert<int8_t>(-1e9), -128);
  EXPECT_EQ(rkConvert<int16_t>(std::nan("")), 0);
  EXPECT_EQ(rkConvert<uint32_t>(4294967294.5), 4294967294u);
  EXPECT_EQ(rkConvert<uint32_t>(5e9), UINT32_MAX);
  EXPECT_EQ(rkConvert<int32_t>(-2147483648.4), INT32_MIN);
  EXPECT_EQ(rkConvert<int32_t>(-2147483646.5), -2147483646);
  EXPECT_EQ(rkConvert<int64_t>(9.3e18), INT64_MAX);
  EXPECT_EQ(rkConvert<int64_t>(-9.3e18), INT64_MIN);
  EXPECT_EQ(rkConvert<uint64_t>(1.8e19), 18000000000000000000u);
  EXPECT_EQ(rkConvert<uint64_t>(1.9e19), UINT64_MAX);
  EXPECT_EQ(rkConvert<float>(1e300), std::numeric_limits<float>::max());
}

TEST_F(Fill, SequencesOfEitherStep) {
  rkVector vector;
  vector.init(rk8u);
  // By mode: 32 / 64 is raised to a step of 1, and the values start again beyond 32.
  ASSERT_TRUE(vector.createVector(64, rkModeSequence, 0, 32));
  for (int i = 0; i < 64; ++i) EXPECT_EQ(vector.getIndex(i), i % 33);
  // By bounds: spread over the vector.
  EXPECT_TRUE(vector.setSequence(0, 63));
  for (int i = 0; i < 64; ++i) EXPECT_EQ(vector.getIndex(i), i);
  EXPECT_TRUE(vector.setSequence(200, 300, 50, false));
  EXPECT_EQ(vector.getIndex(0), 200);
  EXPECT_EQ(vector.getIndex(1), 250);
  EXPECT_EQ(vector.getIndex(2), 255) << "the upper bound is clamped, and stays";
  EXPECT_EQ(vector.getIndex(63), 255);
  // Sequences rise: from above the bound they start again at once, or fall back to it.
  EXPECT_TRUE(vector.setSequence(10, 7, -1, true));
  for (int i = 0; i < 64; ++i) EXPECT_EQ(vector.getIndex(i), 10);
  EXPECT_TRUE(vector.setSequence(10, 7, -1, false));
  EXPECT_EQ(vector.getIndex(0), 10);
  EXPECT_EQ(vector.getIndex(1), 7);
  EXPECT_EQ(vector.getIndex(2), 6);

  vector.init(rk32f);
  ASSERT_TRUE(vector.createVector(4, rkModeSequence, 0, 1));
  EXPECT_EQ(values(vector), (Values{0, 0.25, 0.5, 0.75}));
  EXPECT_TRUE(vector.setVector(rkModeSequence, 1, 0));
  EXPECT_EQ(values(vector), (Values{1, 1, 1, 1}));
  EXPECT_TRUE(vector.setSequence(0, 3));
  EXPECT_EQ(values(vector), (Values{0, 1, 2, 3}));
  ASSERT_TRUE(vector.createVector(1));
  EXPECT_TRUE(vector.setSequence(5, 9));
  EXPECT_EQ(vector.getIndex(0), 5);

  vector.init(rk16sc);
  ASSERT_TRUE(vector.createVector(3));
  EXPECT_TRUE(vector.setSequence(1, 5, 2, false));
  double re, im;
  EXPECT_TRUE(vector.getIndex(1, re, im));
  EXPECT_EQ(re, 3);
  EXPECT_EQ(im, 3);
  EXPECT_TRUE(vector.getIndex(2, re, im));
  EXPECT_EQ(re, 5);
  EXPECT_EQ(im, 1) << "the imaginary part runs the other way";
}

TEST_F(Vector, RefusesWhatCannotBeMade) {
  rkVector vector;
  EXPECT_FALSE(vector.createVector(1)) << "no type";
  EXPECT_FALSE(vector.setConst());
  EXPECT_EQ(vector.data(), nullptr);
  vector.init(rk64fc);
  EXPECT_FALSE(vector.createVector(-1));
  EXPECT_FALSE(vector.createVector(INT_MAX));
  EXPECT_FALSE(vector.isCreated());
  EXPECT_EQ(vector.minValue(), 0);
  EXPECT_TRUE(vector.createVector(0, rkModeRandom)) << "a buffer without elements";
  EXPECT_EQ(vector.size(), 0);
  EXPECT_EQ(vector.maxValue(), 0);
  EXPECT_EQ(vector.getString(), "");
  vector.init("rkdiDecodeCBProgrStep_JPEG2K", rkSrc);
  EXPECT_FALSE(vector.createVector(1));
}

TEST_F(Vector, ElementsByIndex) {
  rkVector vector;
  vector.init("rkdiAdd128_JPEG_16s8u_C1R", 1);
  ASSERT_EQ(vector.type(), rk16s);
  ASSERT_TRUE(vector.createVector(5, rkModeZero));
  EXPECT_TRUE(vector.setIndex(4, rkModeValue, -7, 0));
  EXPECT_TRUE(vector.setIndex(0, rkModeMax, 0, 0));
  EXPECT_EQ(values(vector), (Values{32767, 0, 0, 0, -7}));
  EXPECT_FALSE(vector.setIndex(5, rkModeOne, 0, 0));
  EXPECT_FALSE(vector.setIndex(-1, rkModeOne, 0, 0));
  double re = 1, im = 1;
  EXPECT_FALSE(vector.getIndex(5, re, im));
  EXPECT_EQ(re, 0);
  EXPECT_EQ(vector.getPointerAt(5), nullptr);
  EXPECT_EQ(vector.getPointerAt(2), vector.data16s() + 2);
  EXPECT_EQ(vector.minValue(), -7);
  EXPECT_EQ(vector.maxValue(), 32767);
}

TEST_F(Vector, ReservedCopyAndTracking) {
  rkVector vector;
  vector.init(rk32s);
  EXPECT_TRUE(vector.reserveCopy()) << "nothing to copy is no failure";
  ASSERT_TRUE(vector.createVector(4, rkModeSequence, 0, 4));
  int size = 0;
  tzObject* owner = nullptr;
  ASSERT_TRUE(tzMallocInfo(vector.data(), &size, &owner));
  EXPECT_EQ(size, 16);
  EXPECT_EQ(owner, &vector);
  EXPECT_EQ(vector.objectSize(), 16);

  EXPECT_EQ(vector.getReservedData(), nullptr);
  EXPECT_TRUE(vector.reserveCopy());
  EXPECT_TRUE(tzMallocInfo(vector.getReservedData(), nullptr, &owner));
  EXPECT_EQ(owner, MEM_OBJECT_IS_SUBOBJECT);
  vector.setConst(9, 9);
  vector.setReservedCopy();
  EXPECT_EQ(values(vector), (Values{0, 1, 2, 3}));
  vector.setConst(9, 9);
  EXPECT_TRUE(vector.reserveCopy()) << "again: the copy follows the data";
  vector.setConst(1, 1);
  vector.setReservedCopy();
  EXPECT_EQ(values(vector), (Values{9, 9, 9, 9}));
  vector.deleteReservedCopy();
  EXPECT_EQ(vector.getReservedData(), nullptr);

  // Borrowed data stay their owner's.
  int32_t own[2] = {5, 6};
  ASSERT_TRUE(vector.createVector(2, 0, own));
  EXPECT_EQ(vector.data(), own);
  EXPECT_FALSE(tzMallocInfo(own, nullptr, nullptr));
  EXPECT_TRUE(vector.setConst());
  EXPECT_EQ(own[1], 2);
}

TEST_F(Vector, PlacementFollowsTheSettings) {
  VectorAlign = 3;
  VectorShift = 64;
  rkVector a, b;
  a.init(rk8u);
  b.init(rk8u);
  ASSERT_TRUE(a.createVector(10) && b.createVectorExt(10, 0, rkModeZero));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(a.data()) % 64, 3u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b.data()) % 64, 0u);
}

TEST_F(Vector, TextDumps) {
  const int16_t shorts[] = {1, -2, 3};
  EXPECT_EQ(rkVector::getDataString(rk16s, shorts, 3), "       0:      1     -2      3\n");
  const float complex[] = {0.5f, -1, 2, 3};
  EXPECT_EQ(rkVector::getDataString(rk32fc, complex, 2),
            "       0:           0.5,           -1             2,            3\n");
  EXPECT_EQ(rkVector::getDataString(rkUndef, shorts, 3), "");
  unsigned char bytes[17] = {0xAB};
  EXPECT_EQ(rkVector::getByteString(bytes, 17),
            "       0: AB 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n      16: 00\n");

  rkVector vector;
  vector.init(rk64f);
  ASSERT_TRUE(vector.createVector(1, rkModeMax));
  EXPECT_NE(vector.getString().find("1.79769e+308"), -1);
  EXPECT_EQ(vector.objectInfo(), "Vector 64f, 1 elements");
  vector.init(rk64s);
  ASSERT_TRUE(vector.createVector(9, rkModeMin));
  EXPECT_NE(vector.getString().find("\n       8: -9223372036854775808\n"), -1);
}

TEST_F(Vector, BitStreams) {
  rkBitVector bits;
  ASSERT_TRUE(bits.createBitVector(4, 11));
  EXPECT_EQ(values(bits), (Values{0, 0, 0, 0}));
  EXPECT_EQ(bits.bytePointer(), bits.data8u() + 1);
  EXPECT_EQ(bits.bitInByte(), 3);
  EXPECT_TRUE(bits.setBitPosition(32)) << "the end belongs to the stream";
  EXPECT_FALSE(bits.setBitPosition(33));
  EXPECT_FALSE(bits.setBitPosition(-1));
  EXPECT_EQ(bits.bitPosition(), 32);
  EXPECT_FALSE(bits.createBitVector(1, 9));
}

TEST_F(Image, LayoutFollowsTheFunctionName) {
  rkImage src, dst;
  src.init("rkdiRGBToYCbCr_JPEG_8u_C3P3R", rkSrc);
  dst.init("rkdiRGBToYCbCr_JPEG_8u_C3P3R", rkDst);
  ASSERT_TRUE(src.createImage(70, 5) && dst.createImage(RkdiSize{70, 5}));

  EXPECT_EQ(src.channels(), 3);
  EXPECT_FALSE(src.isPlanar());
  EXPECT_EQ(src.step(), 256);  // 210 bytes in steps of 64
  EXPECT_EQ(src.size(), 256 * 5);
  EXPECT_EQ(src.numItems(), 70 * 5 * 3);
  EXPECT_EQ(src.getNumRows(), 5);
  EXPECT_EQ(src.getRowLen(), 210);
  EXPECT_EQ(src.getPointerAt(2, 1, 1), src.data8u() + 256 + 7);
  EXPECT_EQ(src.getRowPointer(5), nullptr);
  EXPECT_EQ(src.getPointerAt(70, 0, 0), nullptr);

  EXPECT_TRUE(dst.isPlanar());
  EXPECT_EQ(dst.step(), 128);
  EXPECT_EQ(dst.objectSize(), 3 * 128 * 5);
  EXPECT_EQ(dst.getNumRows(), 15);
  EXPECT_EQ(dst.getRowLen(), 70);
  const uint8_t* const* planes = dst.planes8u();  // as library arguments take them
  for (int p = 0; p < 3; ++p) {
    EXPECT_EQ(planes[p], dst.plane(p));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(planes[p]) % 64, 0u);
    tzObject* owner = nullptr;
    ASSERT_TRUE(tzMallocInfo(planes[p], nullptr, &owner));
    EXPECT_EQ(owner, p == 0 ? &dst : MEM_OBJECT_IS_SUBOBJECT);
  }
  EXPECT_EQ(planes[3], nullptr);
  EXPECT_EQ(dst.plane(3), nullptr);
  EXPECT_EQ(dst.data8u(), planes[0]);
  EXPECT_EQ(dst.getPointerAt(2, 1, 2), planes[2] + 128 + 2);
  uint8_t* copies[3];
  dst.setPlaneArray(copies);
  EXPECT_EQ(copies[2], planes[2]);
  EXPECT_EQ(dst.objectInfo(), "Image 8u P3, 70x5 pixels, step 128");

  // Sixteen bits that pack a whole pixel: one element, although the name says C3.
  rkImage packed;
  packed.init("rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R", rkSrc);
  packed.setChannels(1);
  ASSERT_TRUE(packed.createImage(33, 2, -1, 1));
  EXPECT_EQ(packed.step(), 66) << "a layout of 1 leaves no padding";

  rkImage alpha;
  alpha.init("rkdiAdd_8u_AC4R", rkSrc);
  ASSERT_TRUE(alpha.createImage(10, 2));
  EXPECT_EQ(alpha.numItems(), 80);
  EXPECT_EQ(alpha.numActualItems(), 60);
}

TEST_F(Image, RefusesWhatCannotBeMade) {
  rkImage image;
  EXPECT_FALSE(image.createImage(1, 1)) << "no type";
  image.init(rk32f, 4, true);
  EXPECT_FALSE(image.createImage(-1, 1));
  EXPECT_FALSE(image.createImage(1, -1));
  EXPECT_FALSE(image.createImage(INT_MAX, INT_MAX));
  EXPECT_FALSE(image.createImage(1, INT_MAX));
  EXPECT_TRUE(image.createImage(100, 100, -1, 0)) << "below 1 is the default";
  EXPECT_EQ(image.step() % 64, 0);
  EXPECT_FALSE(image.createImage(100, 100, -1, INT_MAX));
  Console console(L_ERR);
  EXPECT_FALSE(image.createImage(20000, 20000)) << "four planes of 1.6 GB";
  EXPECT_EQ(console.text(), "-- Memory error: an image of 20000x20000 pixels is too large\n");
  EXPECT_EQ(image.planes32f()[0], nullptr);
  EXPECT_EQ(image.imageSize().width, 0);
  EXPECT_FALSE(image.setConst());
  image.init(rk8u, 5);
  EXPECT_FALSE(image.createImage(1, 1));
  image.init(rk8u, 0);
  EXPECT_TRUE(image.createImageExt(7, 0, 1, 2, rkModeRandom)) << "an image without rows";
}

TEST_F(Image, FillsGoRowByRowAndLeaveThePaddingAlone) {
  for (const bool planar : {false, true}) {
    rkImage image;
    image.init(rk16s, 3, planar);
    ASSERT_TRUE(image.createImage(5, 2));
    for (int p = 0; p < image.numPlanes(); ++p) {
      std::memset(image.plane(p), 0x5A, 2 * size_t(image.step()));
    }
    ASSERT_TRUE(image.setSequence(0, 1000, 1, false));
    for (int i = 0; i < image.numItems(); ++i) ASSERT_EQ(image.getIndex(i), i);
    for (int row = 0; row < image.getNumRows(); ++row) {
      const auto* bytes = static_cast<const uint8_t*>(image.getRowPointer(row));
      for (int i = 2 * image.getRowLen(); i < image.step(); ++i) ASSERT_EQ(bytes[i], 0x5A);
    }
    // The reserved copy holds every plane.
    ASSERT_TRUE(image.reserveCopy());
    image.setConst(1, 1);
    image.setReservedCopy();
    for (int i = 0; i < image.numItems(); ++i) ASSERT_EQ(image.getIndex(i), i);
  }
  rkImage reserved;
  reserved.init(rk8u);
  ASSERT_TRUE(reserved.createImage(3, 3, -1, -1, true));
  EXPECT_NE(reserved.getReservedData(), nullptr);
  EXPECT_EQ(reserved.getString().find("row 2\n       0:"), reserved.getString().rfind("row 2\n"));
}

TEST_F(Image, ZonePlate) {
  rkImage image;
  image.init(rk8u, 3);
  ASSERT_TRUE(image.createImage(31, 16));
  ASSERT_TRUE(image.setJaehne(100));
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 31; ++x) {
      const double phase = (x - 15.0) * (x - 15.0) / 31 + (y - 7.5) * (y - 7.5) / 16;
      const double want = 127.5 + 100 * std::sin(std::numbers::pi * phase);
      for (int c = 0; c < 3; ++c) {
        ASSERT_NEAR(*static_cast<uint8_t*>(image.getPointerAt(x, y, c)), want, 0.501);
      }
    }
  }
  EXPECT_FALSE(image.setJaehne(-1));
  EXPECT_FALSE(image.setJaehne(std::nan("")));
  // Every plane is the same picture, whole and of its own.
  rkImage planes;
  planes.init(rk8u, 3, true);
  ASSERT_TRUE(planes.createImage(31, 16) && planes.setConst(0, 0) && planes.setJaehne(100));
  for (int i = 0; i < 3 * 31 * 16; ++i) {
    const int x = i % 31, y = i / 31 % 16, c = i / 31 / 16;
    ASSERT_EQ(*static_cast<uint8_t*>(planes.getPointerAt(x, y, c)),
              *static_cast<uint8_t*>(image.getPointerAt(x, y, 0)));
  }

  double magnitude = 1e9, offset = 1;
  EXPECT_TRUE(updateJaehneMagn(rk8u, magnitude, offset));
  EXPECT_EQ(magnitude, 127.5);
  EXPECT_EQ(offset, 127.5);
  magnitude = 100;
  EXPECT_TRUE(updateJaehneMagn(rk16s, magnitude, offset));
  EXPECT_EQ(magnitude, 100);
  EXPECT_EQ(offset, 0);

  rkVector sweep;
  sweep.init(rk32f);
  ASSERT_TRUE(sweep.createVector(64) && sweep.setJaehne());
  for (int i = 0; i < 64; ++i) {
    ASSERT_NEAR(sweep.getIndex(i), std::sin(std::numbers::pi / 2 * i * i / 64), 1e-6);
  }
}

TEST(Scale, FactorsOfAFunction) {
  EXPECT_TRUE(rkScaleIterator::isScaled("rkdiMul_16s_C1RSfs"));
  EXPECT_FALSE(rkScaleIterator::isScaled("rkdiMulSfs_16s_C1R"));
  rkScaleIterator factors;
  factors.init("Scale", 0, 2, -3, 2, 1000);
  EXPECT_EQ(factors.defaultString(), "0; 2; -3; 63");
  factors.init("Scale", rkScaleIterator::NONE);
  EXPECT_EQ(factors.defaultString(), "0");
}
