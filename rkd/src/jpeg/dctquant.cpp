// Transform and quantisation of contiguous 16-bit blocks, and the quantisation tables.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dctquant.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/dct-inl.h"
#include "rkd/rkdjpeg_dct.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// Everything is loaded before anything is stored, so src may be dst.

void fwd8x8(const int16_t* src, int16_t* dst) {
  const Block block = forwardTransform<Forward10>(loadSamples(src));
  for (int i = 0; i < kVectors; ++i) hn::StoreU(rounded(block.v[i]), D16(), dst + 8 * W * i);
}

void quantFwd8x8(const int16_t* src, int16_t* dst, const uint16_t* table) {
  storeQuantised(forwardTransform<Forward10>(loadSamples(src)), table, dst);
}

void quantFwd8x8Eighths(const int16_t* src, int16_t* dst, int count, const uint16_t* table) {
  for (const int16_t* const end = src + ptrdiff_t{64} * count; src != end; src += 64, dst += 64) {
    storeQuantised(forwardTransform<Forward8Eighths>(loadSamples(src)), table, dst);
  }
}

template <class Table>
RKD_BLOCK void inverse(const int16_t* src, int16_t* dst, Table table) {
  if (isFlat(src)) {
    const int value = flatSample<Inverse10>(firstCoefficient(src, table));
    const V16 sample = hn::Set(D16(), static_cast<int16_t>(value));
    for (int i = 0; i < kVectors; ++i) hn::StoreU(sample, D16(), dst + 8 * W * i);
    return;
  }
  Block block = inverseTransform<Inverse10>(loadCoefficients(src, table));
  for (int i = 0; i < kVectors; ++i) {
    block.v[i] = reorder(block.v[i], kDct.fromInverse);
    if (i >= kVectors / 2) block.v[i] = hn::ReverseBlocks(D16(), block.v[i]);
  }
  storeBlock(block, dst);
}

void inv8x8(const int16_t* src, int16_t* dst) { inverse(src, dst, nullptr); }
void quantInv8x8(const int16_t* src, int16_t* dst, const uint16_t* table) {
  inverse(src, dst, table);
}

void quantise8x8(int16_t* srcDst, const uint16_t* table) {
  const Block block = loadBlock(srcDst);
  if (HWY_LIKELY(isMarked(table))) {
    for (int i = 0; i < kVectors; ++i) {
      const V16 magnitude = hn::Abs(block.v[i]);
      const V16 twice = hn::Add(magnitude, magnitude);
      hn::StoreU(quantiseDerived(twice, block.v[i], table, i), D16(), srcDst + 8 * W * i);
    }
  } else if (!isAllOnes(table)) {
    for (int i = 0; i < kVectors; ++i) {
      hn::StoreU(quantiseByDivision(block.v[i], table, i), D16(), srcDst + 8 * W * i);
    }
  }
}

void dequantise8x8(int16_t* srcDst, const uint16_t* table) {
  for (int i = 0; i < kVectors; ++i) {
    int16_t* rows = srcDst + 8 * W * i;
    hn::StoreU(hn::Mul(hn::LoadU(D16(), rows), loadEntries(table, i)), D16(), rows);
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {

HWY_EXPORT(fwd8x8);
HWY_EXPORT(quantFwd8x8);
HWY_EXPORT(quantFwd8x8Eighths);
HWY_EXPORT(inv8x8);
HWY_EXPORT(quantInv8x8);
HWY_EXPORT(quantise8x8);
HWY_EXPORT(dequantise8x8);

// ---- quantisation tables ----

// The entries of one quantiser; quanttable.h has the arithmetic.
void derive(uint16_t* table, int i, unsigned quantiser) {
  const int log2 = 31 - __builtin_clz(quantiser);
  unsigned reciprocal = ((1u << (16 + log2)) + quantiser - 1) / quantiser;
  int shift = log2 + 1;
  if (quantiser == 1) {
    reciprocal = 0xFFFF;
  } else if (reciprocal == 0x10000) {
    reciprocal = 0x8000;
    shift = log2;
  }
  table[i] = static_cast<uint16_t>(quantiser);
  table[kReciprocals + i] = static_cast<uint16_t>(reciprocal);
  table[kScales + i] = static_cast<uint16_t>(1u << (15 - shift));
}

template <class T>
RkdStatus buildTable(const T* quantisers, uint16_t* table, int largest, bool forward) {
  if (const RkdStatus status = checkPointers(quantisers, table)) return status;
  uint16_t made[kTableLength] = {};
  for (int i = 0; i < 64; ++i) {
    T quantiser;
    std::memcpy(&quantiser, static_cast<const void*>(quantisers + i), sizeof(T));
    if (quantiser < 1 || quantiser > largest) return rkdStsQuantTableErr;
    if (forward) {
      derive(made, i, quantiser);
    } else {
      made[i] = quantiser;
    }
  }
  if (forward) std::memcpy(made + kMark, &kQuantMark, sizeof(kQuantMark));
  std::memcpy(static_cast<void*>(table), made, sizeof(made));
  return rkdStsNoErr;
}

// ---- entry points: pointers are checked, then the kernel runs ----

template <class Kernel, class... Operand>
RkdStatus runBlock(Kernel kernel, Operand... operand) {
  if (const RkdStatus status = checkPointers(operand...)) return status;
  kernel(operand...);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

RkdStatus rkdiQuantFwdTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table) {
  return buildTable(quantisers, table, 255, true);
}
RkdStatus rkdiQuantFwdTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return buildTable(quantisers, table, 32767, true);
}
RkdStatus rkdiQuantInvTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table) {
  return buildTable(quantisers, table, 255, false);
}
RkdStatus rkdiQuantInvTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return buildTable(quantisers, table, 65535, false);
}

RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1(const int16_t* src, int16_t* dst) {
  return runBlock(RKD_AT_LEVEL(fwd8x8), src, dst);
}
RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1I(int16_t* srcDst) {
  return runBlock(RKD_AT_LEVEL(fwd8x8), srcDst, srcDst);
}
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1(const int16_t* src, int16_t* dst) {
  return runBlock(RKD_AT_LEVEL(inv8x8), src, dst);
}
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1I(int16_t* srcDst) {
  return runBlock(RKD_AT_LEVEL(inv8x8), srcDst, srcDst);
}
RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(quantFwd8x8), src, dst, table);
}
RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(quantFwd8x8), srcDst, srcDst, table);
}
RkdStatus rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(const int16_t* src, int16_t* dst, int count,
                                                 const uint16_t* table) {
  if (const RkdStatus status = checkPointers(src, dst, table)) return status;
  if (count < 1) return rkdStsSizeErr;
  RKD_AT_LEVEL(quantFwd8x8Eighths)(src, dst, count, table);
  return rkdStsNoErr;
}
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(quantInv8x8), src, dst, table);
}
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(quantInv8x8), srcDst, srcDst, table);
}
RkdStatus rkdiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(quantise8x8), srcDst, table);
}
RkdStatus rkdiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return runBlock(RKD_AT_LEVEL(dequantise8x8), srcDst, table);
}
#endif  // HWY_ONCE
