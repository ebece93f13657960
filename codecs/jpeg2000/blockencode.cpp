// Code blocks from wavelet coefficients to bytes, passes and what each pass is worth.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <new>

#include "codeblock.h"

namespace j2k {

uint8_t* Arena::take(size_t bytes, size_t alignment) {
  const size_t padding = (alignment - reinterpret_cast<uintptr_t>(m_next) % alignment) % alignment;
  if (bytes + padding > m_left) {
    m_left = std::max(bytes, pieceSize);
    m_size += int64_t(m_left);
    m_pieces.push_back(std::make_unique_for_overwrite<uint8_t[]>(m_left));
    m_next = m_pieces.back().get();
  } else {
    m_next += padding;
    m_left -= padding;
  }
  uint8_t* const taken = m_next;
  m_next += bytes;
  m_left -= bytes;
  return taken;
}

BlockEncoder::BlockEncoder() : m_coefficients(4096) {
  if (m_state.make(rkdiEncodeCodeBlockStateInitAlloc_JPEG2K) != rkdStsNoErr) throw std::bad_alloc();
}

namespace {

/// @return all magnitudes or-ed together
template <typename T, typename Convert>
uint32_t convertRows(const PlaneView& block, int32_t* dst, const Convert& convert) {
  uint32_t all = 0;
  for (int y = 0; y < block.height; ++y, dst += block.width) {
    const T* const src = block.row<T>(y);
    for (int x = 0; x < block.width; ++x) {
      const int32_t v = convert(src[x]);
      dst[x] = v;
      all |= uint32_t(v < 0 ? -v : v);
    }
  }
  return all;
}

uint32_t quantise(const PlaneView& block, const BandCoding& coding, int32_t* dst) {
  switch (block.arithmetic) {
    case Arithmetic::narrow:
      return convertRows<int16_t>(block, dst, [](int16_t v) { return int32_t(v); });
    case Arithmetic::wide:
      return convertRows<int32_t>(block, dst, [](int32_t v) { return v; });
    default: {
      const RkdiSize size = {block.width, block.height};
      const RkdStatus status = rkdiQuantFwd_JPEG2K_32f32s_C1R(
          block.row<float>(0), int(block.step), dst, size.width * 4, size, coding.step);
      if (status != rkdStsNoErr) std::abort();  // arguments are ours
      uint32_t all = 0;
      const int count = size.width * size.height;
      for (int i = 0; i < count; ++i) all |= uint32_t(std::abs(dst[i]));
      return all;
    }
  }
}

/// The middle of what becomes a number, in halves of the step: what the coder takes for exact is
/// then nearer to the truth, and so is what passes at the lowest planes seem to gain.
void toHalves(int32_t* coefficients, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const int32_t v = coefficients[i];
    coefficients[i] = 2 * v + int32_t(v > 0) - int32_t(v < 0);
  }
}

}  // namespace

void BlockEncoder::load(const PlaneView& block, const BandCoding& coding, const Rect& roi) {
  m_size = {block.width, block.height};
  uint32_t all = quantise(block, coding, m_coefficients.data());
  for (int64_t y = roi.y0; y < roi.y1; ++y) {
    for (int64_t x = roi.x0; x < roi.x1; ++x) {
      int32_t& v = m_coefficients[size_t(y * block.width + x)];
      v = int32_t(uint32_t(v) << coding.roiShift);
      all |= uint32_t(std::abs(v));
    }
  }
  m_planes = std::bit_width(all);
  constexpr int mostInHalves = rkdCodeBlockMaxPlanes - 1;
  m_inHalves = !coding.reversible && m_planes <= mostInHalves;
  if (m_inHalves) {
    toHalves(m_coefficients.data(), size_t(m_size.width) * size_t(m_size.height));
  }
}

namespace {

/// Marks the passes at which a block may be cut: the upper hull of distortion over length, where
/// every further stretch gains less a byte than the one before.
void markHull(PassRecord* passes, int count) {
  int hull[rkdCodeBlockMaxPasses];
  int size = 0;
  const auto slope = [&](int from, int to) {
    const double gain = passes[to].distortion - (from < 0 ? 0 : passes[from].distortion);
    const double bytes = double(passes[to].length) - (from < 0 ? 0 : passes[from].length);
    return bytes > 0 ? gain / bytes : gain > 0 ? 1e30 : 0;
  };
  for (int i = 0; i < count; ++i) {
    passes[i].slope = 0;
    if (slope(size == 0 ? -1 : hull[size - 1], i) <= 0) continue;
    while (size > 0) {
      const int last = hull[size - 1];
      const double now = slope(last, i);
      if (now < double(passes[last].slope)) break;
      passes[last].slope = 0;
      --size;
    }
    passes[i].slope = float(std::min(slope(size == 0 ? -1 : hull[size - 1], i), 1e30));
    hull[size++] = i;
  }
}

}  // namespace

CodedBlock BlockEncoder::encode(const BandCoding& coding, double weight, const Depth& depth,
                                Arena& arena) {
  CodedBlock block;
  block.planes = uint8_t(m_planes);
  const int all = 3 * m_planes - 2;
  const int most = std::min(all, depth.mostPasses);
  block.complete = most >= all;
  if (m_planes == 0 || most <= 0) return block;
  const double unit = m_inHalves ? 0.25 : 1;  // of squared errors
  RkdStatus status =
      rkdiEncodeSetLeastGain_JPEG2K(depth.leastGain / unit, depth.fewestPasses, m_state);
  if (status == rkdStsNoErr) {
    status =
        rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(m_coefficients.data(), m_size.width * 4, m_size,
                                               coding.orientation, coding.style, most, m_state);
  }
  int planes = 0, count = 0;
  if (status == rkdStsNoErr) {
    status = rkdiEncodeGetCodeBlockInfo_JPEG2K(&planes, &count, m_state);
  }
  if (status != rkdStsNoErr) throw std::bad_alloc();
  PassRecord* const passes = reinterpret_cast<PassRecord*>(
      arena.take(sizeof(PassRecord) * size_t(count), alignof(PassRecord)));
  double sum = 0;
  for (int i = 0; i < count; ++i) {
    RkdiCodeBlockPass info{};
    rkdiEncodeGetPassInfo_JPEG2K(i, &info, m_state);
    sum += info.distortion * unit * weight;
    passes[i] = {uint32_t(info.length), 0, sum};
  }
  markHull(passes, count);
  const int length = int(passes[count - 1].length);
  uint8_t* const bytes = arena.take(size_t(length), 1);
  int position = 0;
  rkdiEncodeStoreBits_JPEG2K_1u(bytes, length, &position, count, m_state);
  block.bytes = bytes;
  block.passes = passes;
  block.count = uint8_t(count);
  block.complete = count >= all;
  return block;
}

}  // namespace j2k
