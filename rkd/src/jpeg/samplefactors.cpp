// Sampling by two down and by four across, and by any factors on a plain path.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/samplefactors.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "common/tiles-inl.h"
#include "hwy/highway.h"
#include "jpeg/sample-inl.h"
#include "jpeg/sample.h"
#include "rkd/rkdjpeg_sample.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- one down: two rows and one ----

void downRowH1V2(const uint8_t* src1, const uint8_t* src2, size_t width, uint8_t* dst) {
  const D8 d;
  overRow(width, kTile, [&](size_t x, auto amount) RKD_BODY {
    store(hn::AverageRound(load(d, src1 + x, amount), load(d, src2 + x, amount)), d, dst + x,
          amount);
  });
}

// `lower` may be missing.
void upRowH1V2(const uint8_t* above, const uint8_t* src, const uint8_t* below, size_t width,
               uint8_t* upper, uint8_t* lower) {
  const D8 d;
  overRow(width, kTile, [&](size_t x, auto amount) RKD_BODY {
    const V8 here = load(d, src + x, amount);
    store(mean3to1Down(here, load(d, above + x, amount)), d, upper + x, amount);
    if (lower != nullptr) {
      store(mean3to1Up(here, load(d, below + x, amount)), d, lower + x, amount);
    }
  });
}

// ---- four across ----

// The means of fours of neighbours, from two vectors' worth of them.
HWY_INLINE V16 meansOfFour(const uint8_t* from) {
  const D16 d;
  const V16 a = pairSums(hn::LoadU(D8(), from)), b = pairSums(hn::LoadU(D8(), from + kTile));
  const V16 sums = hn::Add(hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a));
  return hn::ShiftRight<2>(hn::Add(sums, hn::Set(d, 2)));
}
HWY_INLINE void boxesOfFour(const uint8_t* from, uint8_t* to) {
  hn::StoreU(packInOrder(meansOfFour(from), meansOfFour(from + 2 * kTile)), D8(), to);
}

void downRowH4V1(const uint8_t* src, size_t width, uint8_t* dst) {
  size_t i = 0;
  for (; 4 * (i + kTile) <= width; i += kTile) boxesOfFour(src + 4 * i, dst + i);
  const size_t rest = width - 4 * i;
  if (rest == 0) return;
  HWY_ALIGN uint8_t from[4 * kTile], to[kTile];
  std::memset(from, src[width - 1], sizeof(from));
  std::memcpy(from, src + 4 * i, rest);
  boxesOfFour(from, to);
  std::memcpy(dst + i, to, (rest + 3) / 4);
}

// h + (3 * (far - h) + bias >> 3), and with the difference once: 5:3 and 7:1.
struct Eighths {
  V16 three, one;
  HWY_INLINE Eighths(V16 here, V16 far, V16 bias) {
    const V16 difference = hn::Sub(far, here);
    const V16 biased = hn::Add(difference, bias);
    one = hn::Add(here, hn::ShiftRight<3>(biased));
    three = hn::Add(here, hn::ShiftRight<3>(hn::Add(biased, hn::Add(difference, difference))));
  }
};

// from[-1] and from[kTile] are read, too.
RKD_BLOCK void foursOfTile(const uint8_t* from, uint8_t* to) {
  const D8 d;
  const V16 left = hn::Set(D16(), 3), right = hn::Set(D16(), 4);
  const V8 here = hn::LoadU(d, from), before = hn::LoadU(d, from - 1);
  const V8 after = hn::LoadU(d, from + 1);
  const Eighths lowLeft(lower16(here), lower16(before), left);
  const Eighths highLeft(upper16(here), upper16(before), left);
  const Eighths lowRight(lower16(here), lower16(after), right);
  const Eighths highRight(upper16(here), upper16(after), right);
  hn::StoreInterleaved4(pack8(lowLeft.three, highLeft.three), pack8(lowLeft.one, highLeft.one),
                        pack8(lowRight.one, highRight.one), pack8(lowRight.three, highRight.three),
                        d, to);
}

// The first `outputs` samples.
void upRowH4V1(const uint8_t* src, size_t width, uint8_t* dst, size_t outputs) {
  for (size_t i = 0; i < width; i += kTile) {
    const bool isInside = i > 0 && i + kTile < width;
    if (isInside) {
      foursOfTile(src + i, dst + 4 * i);
      continue;
    }
    uint8_t from[kTile + 2];
    HWY_ALIGN uint8_t to[4 * kTile];
    std::memset(from, src[width - 1], sizeof(from));
    from[0] = src[i == 0 ? 0 : i - 1];
    std::memcpy(from + 1, src + i, HWY_MIN(kTile + 1, width - i));
    foursOfTile(from + 1, to);
    std::memcpy(dst + 4 * i, to, HWY_MIN(4 * kTile, outputs - 4 * i));
  }
}

// ---- repeating ----

template <int factor, class T>
HWY_INLINE size_t repeatTiles(const T* src, T* dst, size_t outputs) {
  const hn::ScalableTag<T> d;
  constexpr size_t n = hn::MaxLanes(d);
  size_t i = 0;
  for (; factor * (i + n) <= outputs; i += n) {
    const auto v = hn::LoadU(d, src + i);
    if constexpr (factor == 2) {
      hn::StoreInterleaved2(v, v, d, dst + 2 * i);
    } else if constexpr (factor == 3) {
      hn::StoreInterleaved3(v, v, v, d, dst + 3 * i);
    } else {
      hn::StoreInterleaved4(v, v, v, v, d, dst + 4 * i);
    }
  }
  return i;
}

template <class T>
HWY_INLINE void repeatRow(const T* src, T* dst, size_t outputs, int factor) {
  const auto f = static_cast<size_t>(factor);
  size_t i = factor == 2   ? repeatTiles<2>(src, dst, outputs)
             : factor == 3 ? repeatTiles<3>(src, dst, outputs)
             : factor == 4 ? repeatTiles<4>(src, dst, outputs)
                           : 0;
  if (factor == 1) {
    std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), outputs * sizeof(T));
    return;
  }
  for (size_t to = f * i; to < outputs; ++to) {
    std::memcpy(static_cast<void*>(dst + to), static_cast<const void*>(src + to / f), sizeof(T));
  }
}
void repeatRow8(const uint8_t* src, uint8_t* dst, size_t outputs, int factor) {
  repeatRow(src, dst, outputs, factor);
}

template <class T>
HWY_INLINE void repeatImage(const SampleImagesOf<T>& io, int factorX, int factorY) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    repeatRow(io.srcRow(y / factorY), io.dstRow(y), io.dstWidth(), factorX);
  }
}

// ---- images ----

void repeat8(const SampleImages& io, int factorX, int factorY) {
  repeatImage(io, factorX, factorY);
}
void repeat16(const SampleImagesOf<uint16_t>& io, int factorX, int factorY) {
  repeatImage(io, factorX, factorY);
}
void downH1V2(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    downRowH1V2(io.srcRow(2 * y), io.srcRow(2 * y + 1), io.srcWidth(), io.dstRow(y));
  }
}
void downH4V1(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    downRowH4V1(io.srcRow(y), io.srcWidth(), io.dstRow(y));
  }
}
void upH1V2(const SampleImages& io) {
  for (int y = 0; y < io.srcSize.height; ++y) {
    uint8_t* const lower = 2 * y + 1 < io.dstSize.height ? io.dstRow(2 * y + 1) : nullptr;
    upRowH1V2(io.srcRow(y - 1), io.srcRow(y), io.srcRow(y + 1), io.srcWidth(), io.dstRow(2 * y),
              lower);
  }
}
void upH4V1(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    upRowH4V1(io.srcRow(y), io.srcWidth(), io.dstRow(y), io.dstWidth());
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(downRowH1V2);
HWY_EXPORT(downRowH4V1);
HWY_EXPORT(upRowH1V2);
HWY_EXPORT(upRowH4V1);
HWY_EXPORT(repeatRow8);
HWY_EXPORT(repeat8);
HWY_EXPORT(repeat16);
HWY_EXPORT(downH1V2);
HWY_EXPORT(downH4V1);
HWY_EXPORT(upH1V2);
HWY_EXPORT(upH4V1);

namespace {

// Boxes of any size: the plain path.
template <class T>
void boxes(const SampleImagesOf<T>& io, int factorX, int factorY) {
  const auto sampleAt = [](const T* row, int x) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(row) + x * sizeof(T), sizeof(T));
    return value;
  };
  const int count = factorX * factorY, lastX = io.srcSize.width - 1;
  for (int y = 0; y < io.dstSize.height; ++y) {
    char* to = reinterpret_cast<char*>(io.dstRow(y));
    for (int x = 0; x < io.dstSize.width; ++x, to += sizeof(T)) {
      int sum = count / 2;
      for (int i = 0; i < factorY; ++i) {
        const T* const row = io.srcRow(factorY * y + i);
        for (int k = 0; k < factorX; ++k) sum += sampleAt(row, std::min(factorX * x + k, lastX));
      }
      const auto mean = static_cast<T>(sum / count);
      std::memcpy(to, &mean, sizeof(T));
    }
  }
}
void boxes8(const SampleImages& io, int factorX, int factorY) {
  if (factorX == 1 && factorY == 2) return RKD_AT_LEVEL(downH1V2)(io);
  if (factorX == 4 && factorY == 1) return RKD_AT_LEVEL(downH4V1)(io);
  boxes(io, factorX, factorY);
}

bool isFactor(int factor) { return factor >= 1 && factor <= 4; }

// The larger and the smaller size belong together.
bool areSizes(RkdiSize whole, RkdiSize part, int factorX, int factorY) {
  return isPartOf(factorX, whole.width, part.width) && isPartOf(factorY, whole.height, part.height);
}

template <class T, class Kernel>
RkdStatus runDown(Kernel kernel, const SampleImagesOf<T>& io, int factorX, int factorY) {
  if (const RkdStatus status = io.check(areSizes(io.srcSize, io.dstSize, factorX, factorY))) {
    return status;
  }
  kernel(io);
  return rkdStsNoErr;
}
template <class T, class Kernel>
RkdStatus runUp(Kernel kernel, const SampleImagesOf<T>& io, int factorX, int factorY) {
  if (const RkdStatus status = io.check(areSizes(io.dstSize, io.srcSize, factorX, factorY))) {
    return status;
  }
  kernel(io);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

RkdStatus rkdiSampleDownRowH1V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src1, src2, dst), checkLength(srcWidth))) {
    return status;
  }
  RKD_AT_LEVEL(downRowH1V2)(src1, src2, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownRowH4V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkLength(srcWidth))) {
    return status;
  }
  RKD_AT_LEVEL(downRowH4V1)(src, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1(const uint8_t* above, const uint8_t* src,
                                                  const uint8_t* below, int srcWidth, uint8_t* dst1,
                                                  uint8_t* dst2) {
  if (const RkdStatus status =
          firstOf(checkPointers(above, src, below, dst1, dst2), checkLength(srcWidth))) {
    return status;
  }
  RKD_AT_LEVEL(upRowH1V2)(above, src, below, static_cast<size_t>(srcWidth), dst1, dst2);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkLength(srcWidth))) {
    return status;
  }
  const auto width = static_cast<size_t>(srcWidth);
  RKD_AT_LEVEL(upRowH4V1)(src, width, dst, 4 * width);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRow_Replicate_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst,
                                               int factor) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkLength(srcWidth),
                                       isFactor(factor) ? rkdStsNoErr : rkdStsBadArgErr)) {
    return status;
  }
  RKD_AT_LEVEL(repeatRow8)(src, dst, static_cast<size_t>(srcWidth) * factor, factor);
  return rkdStsNoErr;
}

// Exported functions on images: `run` is runDown or runUp.
#define SAMPLE_IMAGE(Name, run, kernel, factorX, factorY)                                      \
  RkdStatus Name(const uint8_t* src, int srcStep, RkdiSize srcSize, uint8_t* dst, int dstStep, \
                 RkdiSize dstSize) {                                                           \
    return run<uint8_t>(RKD_AT_LEVEL(kernel), {src, srcStep, srcSize, dst, dstStep, dstSize},  \
                        factorX, factorY);                                                     \
  }
#define SAMPLE_BY_FACTORS(Name, run, kernel, T)                                                 \
  RkdStatus Name(const T* src, int srcStep, RkdiSize srcSize, T* dst, int dstStep,              \
                 RkdiSize dstSize, int factorX, int factorY) {                                  \
    if (!isFactor(factorX) || !isFactor(factorY)) return rkdStsBadArgErr;                       \
    const auto byFactors = [&](const SampleImagesOf<T>& io) { kernel(io, factorX, factorY); };  \
    return run<T>(byFactors, {src, srcStep, srcSize, dst, dstStep, dstSize}, factorX, factorY); \
  }

SAMPLE_IMAGE(rkdiSampleDownH1V2_JPEG_8u_C1R, runDown, downH1V2, 1, 2)
SAMPLE_IMAGE(rkdiSampleDownH4V1_JPEG_8u_C1R, runDown, downH4V1, 4, 1)
SAMPLE_IMAGE(rkdiSampleUpH1V2_JPEG_8u_C1R, runUp, upH1V2, 1, 2)
SAMPLE_IMAGE(rkdiSampleUpH4V1_JPEG_8u_C1R, runUp, upH4V1, 4, 1)
SAMPLE_BY_FACTORS(rkdiSampleDown_Box_JPEG_8u_C1R, runDown, boxes8, uint8_t)
SAMPLE_BY_FACTORS(rkdiSampleDown_Box_JPEG_16u_C1R, runDown, boxes, uint16_t)
SAMPLE_BY_FACTORS(rkdiSampleUp_Replicate_JPEG_8u_C1R, runUp, RKD_AT_LEVEL(repeat8), uint8_t)
SAMPLE_BY_FACTORS(rkdiSampleUp_Replicate_JPEG_16u_C1R, runUp, RKD_AT_LEVEL(repeat16), uint16_t)
#endif  // HWY_ONCE
