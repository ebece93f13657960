// Code blocks from their bytes to wavelet coefficients.
#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "codeblock.h"

namespace j2k {

int segmentRoom(int pass, int style) {
  constexpr int most = 164;
  if (style & rkdCodeBlockTermAll) return 1;
  if (!(style & rkdCodeBlockBypass)) return most - pass;
  // The pattern repeats with every plane, also beyond the planes that the library codes.
  while (pass >= rkdCodeBlockMaxPasses) pass -= 3;
  int passes = 1;
  return rkdiGetCodeBlockSegment_JPEG2K(pass, style, &passes) == rkdStsNoErr ? passes : 1;
}

BlockDecoder::BlockDecoder() : m_coefficients(4096) {
  if (m_state.make(rkdiDecodeCodeBlockStateInitAlloc_JPEG2K) != rkdStsNoErr) throw std::bad_alloc();
}

/// The segments of the first passes one after the other; where a block is in one packet they are
/// so already.
const uint8_t* BlockDecoder::gather(const BlockState& block, const std::vector<Chunk>& chunks,
                                    int passes, int style, int& length) {
  m_lengths.clear();
  m_bytes.clear();
  const bool single = block.firstChunk == block.lastChunk;
  int room = 0;  // passes that the present segment still takes
  int done = 0;
  for (int32_t i = block.firstChunk; i >= 0 && done < passes; i = chunks[size_t(i)].next) {
    const Chunk& chunk = chunks[size_t(i)];
    if (room == 0) {
      room = segmentRoom(done, style);
      m_lengths.push_back(0);
    }
    m_lengths.back() += int(chunk.length);
    room -= chunk.passes;
    done += chunk.passes;
    if (!single) m_bytes.insert(m_bytes.end(), chunk.bytes, chunk.bytes + chunk.length);
  }
  const Chunk& first = chunks[size_t(block.firstChunk)];
  length = int(single ? first.length : m_bytes.size());
  return single ? first.bytes : m_bytes.data();
}

namespace {

/// Coefficients of a region of interest were shifted above all others.
/// @param shift  as store() has it: the unit is that of the quantiser times 2^shift
void unshiftRoi(int32_t* v, size_t count, int roiShift, int shift) {
  const int32_t limit = int32_t(1) << std::min(roiShift - shift, 30);
  const int down = std::min(roiShift, 31);
  for (size_t i = 0; i < count; ++i) {
    const int32_t magnitude = std::abs(v[i]);
    if (magnitude < limit) continue;
    int32_t value = down > 30 ? 0 : magnitude >> down;
    // The middle of the last interval, which is halves' lowest bit, may have been shifted out.
    if (shift < 0 && (uint32_t(value) << down) != uint32_t(magnitude)) value |= 1;
    v[i] = v[i] < 0 ? -value : value;
  }
}

template <typename T>
T stored(int32_t v) {
  return T(std::clamp<int32_t>(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

template <typename T, typename Convert>
void storeRows(const int32_t* src, int srcStep, const PlaneView& plane, const Convert& convert) {
  for (int y = 0; y < plane.height; ++y, src += srcStep) {
    T* const dst = plane.row<T>(y);
    for (int x = 0; x < plane.width; ++x) dst[x] = convert(src[x]);
  }
}

/// @param shift  planes that did not fit are missing at the bottom (> 0), or one half was added
/// (-1)
void store(const int32_t* src, int srcStep, const PlaneView& plane, const BandCoding& coding,
           int shift) {
  switch (plane.arithmetic) {
    case Arithmetic::narrow:
      storeRows<int16_t>(src, srcStep, plane, [](int32_t v) { return stored<int16_t>(v); });
      break;
    case Arithmetic::wide:
      if (shift > 0) {
        storeRows<int32_t>(src, srcStep, plane, [shift](int32_t v) {
          return int32_t(std::clamp<double>(std::ldexp(v, shift), INT32_MIN, INT32_MAX));
        });
      } else {
        storeRows<int32_t>(src, srcStep, plane, [](int32_t v) { return v; });
      }
      break;
    case Arithmetic::real: {
      const float scale = std::ldexp(coding.step, shift);
      const RkdStatus status =
          rkdiQuantInv_JPEG2K_32s32f_C1R(src, srcStep * 4, plane.row<float>(0), int(plane.step),
                                         {plane.width, plane.height}, scale, 0);
      if (status == rkdStsNoErr) break;
      // Steps that no encoder has reason to write.
      storeRows<float>(src, srcStep, plane, [scale](int32_t v) { return float(v) * scale; });
      break;
    }
  }
}

}  // namespace

bool BlockDecoder::decode(const BlockState& block, const std::vector<Chunk>& chunks,
                          const BandCoding& coding, const Rect& rect, const PlaneView& plane,
                          int64_t x, int64_t y) {
  if (block.firstChunk < 0) return true;
  int planes = coding.planes - block.zeroPlanes;
  if (planes <= 0) return false;
  int told = 0;
  for (int32_t i = block.firstChunk; i >= 0; i = chunks[size_t(i)].next) {
    told += chunks[size_t(i)].passes;
  }
  int shift = 0;
  if (planes > rkdCodeBlockMaxPlanes) {
    shift = planes - rkdCodeBlockMaxPlanes;
    planes = rkdCodeBlockMaxPlanes;
  }
  const int passes = std::min(told, 3 * planes - 2);
  const bool surplus = told > passes && shift == 0;
  if (!coding.reversible && planes < rkdCodeBlockMaxPlanes) {
    // One more plane below the last makes the middle of the last interval a whole number.
    ++planes;
    --shift;
  }
  int length = 0;
  const uint8_t* const bytes = gather(block, chunks, passes, coding.style, length);
  const RkdiSize size = {int(rect.width()), int(rect.height())};
  const RkdStatus status = rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      bytes, length, m_lengths.data(), int(m_lengths.size()), m_coefficients.data(), size.width * 4,
      size, coding.orientation, coding.style, planes, passes, m_state);
  if (status != rkdStsNoErr && status != rkdStsDataErr) return false;
  if (coding.roiShift > shift && coding.roiShift > 0) {
    unshiftRoi(m_coefficients.data(), size_t(size.width) * size_t(size.height), coding.roiShift,
               shift);
  }
  const int64_t left = std::max<int64_t>(0, -x), top = std::max<int64_t>(0, -y);
  const int64_t right = std::min<int64_t>(size.width, plane.width - x);
  const int64_t bottom = std::min<int64_t>(size.height, plane.height - y);
  if (left < right && top < bottom) {
    store(m_coefficients.data() + top * size.width + left, size.width,
          plane.part(x + left, y + top, right - left, bottom - top), coding, shift);
  }
  return status == rkdStsNoErr && !surplus;
}

}  // namespace j2k
