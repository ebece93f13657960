// Levels of wavelets, of whole components and in strips.
#include "wavelet.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rkd/rkdjpeg.h"

namespace j2k {

uint8_t* WorkMemory::atLeast(size_t bytes) {
  if (bytes > m_bytes) {
    m_memory.reset();
    m_memory = std::make_unique_for_overwrite<uint8_t[]>(bytes);
    m_bytes = bytes;
  }
  return m_memory.get();
}

namespace {

void checked(RkdStatus status) {
  if (status != rkdStsNoErr) std::abort();  // arguments are ours
}

RkdiSize sizeOf(const PlaneView& view) { return {view.width, view.height}; }

/// Work memory of the library's transforms.
void* workFor(const PlaneView& view, WorkMemory& work) {
  static constexpr RkdDataType types[] = {rkd16s, rkd32s, rkd32f};
  int bytes = 0;
  checked(rkdiWTGetBufSize_JPEG2K(sizeOf(view), types[size_t(view.arithmetic)], &bytes));
  return work.atLeast(size_t(bytes));
}

/// A level in place.
template <bool Forward>
void lift(const WaveletLevel& l, WorkMemory& work) {
  const int step = int(l.plane.step);
  const auto run = [&](auto call, auto* data) {
    checked(call(data, step, sizeOf(l.plane), l.phaseX, l.phaseY, workFor(l.plane, work)));
  };
  switch (l.plane.arithmetic) {
    case Arithmetic::narrow:
      run(Forward ? rkdiWTFwd_B53_JPEG2K_16s_C1IR : rkdiWTInv_B53_JPEG2K_16s_C1IR,
          l.plane.row<int16_t>(0));
      break;
    case Arithmetic::wide:
      run(Forward ? rkdiWTFwd_B53_JPEG2K_32s_C1IR : rkdiWTInv_B53_JPEG2K_32s_C1IR,
          l.plane.row<int32_t>(0));
      break;
    case Arithmetic::real:
      run(Forward ? rkdiWTFwd_D97_JPEG2K_32f_C1IR : rkdiWTInv_D97_JPEG2K_32f_C1IR,
          l.plane.row<float>(0));
      break;
  }
}

/// A level of samples, to coefficients elsewhere.
void liftTo(const WaveletLevel& l, const PlaneView& dst, WorkMemory& work) {
  const auto run = [&](auto call, const auto* from, auto* to) {
    checked(call(from, int(l.plane.step), to, int(dst.step), sizeOf(l.plane), l.phaseX, l.phaseY,
                 workFor(l.plane, work)));
  };
  switch (l.plane.arithmetic) {
    case Arithmetic::narrow:
      run(rkdiWTFwd_B53_JPEG2K_16s_C1R, l.plane.row<int16_t>(0), dst.row<int16_t>(0));
      break;
    case Arithmetic::wide:
      run(rkdiWTFwd_B53_JPEG2K_32s_C1R, l.plane.row<int32_t>(0), dst.row<int32_t>(0));
      break;
    case Arithmetic::real:
      run(rkdiWTFwd_D97_JPEG2K_32f_C1R, l.plane.row<float>(0), dst.row<float>(0));
      break;
  }
}

// ---- strips ----

/// Rows of a level that begin with a low one, except the first strip's; and the rows around them
/// that their results depend on.
struct Strip {
  int first, end;
  int from, to;
  int rows() const { return to - from; }
};

constexpr int leastRows = 64;

std::vector<Strip> stripsOf(int height, int phase, int threads) {
  const int count = std::min(2 * threads, height / leastRows);
  std::vector<Strip> strips;
  const auto cut = [&](int i) {
    if (i == 0 || i == count) return i == 0 ? 0 : height;
    return (int(int64_t(height) * i / count) + phase) / 2 * 2 - phase;
  };
  for (int i = 0; i < count; ++i) {
    const int first = cut(i), end = cut(i + 1);
    strips.push_back(
        {first, end, std::max(0, first - waveletReach), std::min(height, end + waveletReach)});
  }
  return strips;
}

/// Low ones among the first rows of a level.
int lowRows(int rows, int phase) { return (rows + 1 - phase) / 2; }

/// The place of a strip: all have room for as many rows, and their margins.
PlaneView placeOf(size_t index, const std::vector<Strip>& strips, const PlaneView& level,
                  uint8_t* memory) {
  PlaneView view = level;
  size_t before = 0;
  for (size_t i = 0; i < index; ++i) before += size_t(strips[i].rows());
  view.data = memory + before * level.step;
  view.height = strips[index].rows();
  return view;
}

int64_t bytesOf(const std::vector<Strip>& strips, const PlaneView& level) {
  int64_t rows = 0;
  for (const Strip& s : strips) rows += s.rows();
  return rows * int64_t(level.step);
}

void copyRows(const PlaneView& from, int fromRow, const PlaneView& to, int toRow, int rows) {
  const size_t bytes = size_t(from.width) * sampleSize(from.arithmetic);
  for (int y = 0; y < rows; ++y) {
    std::memcpy(to.row<uint8_t>(toRow + y), from.row<uint8_t>(fromRow + y), bytes);
  }
}

}  // namespace

/// Strips to memory of their own, for the coefficients of one lie where the samples of another are.
void Wavelets::forwardInStrips(const WaveletLevel& level) {
  const PlaneView& plane = level.plane;
  const int phase = level.phaseY;
  const std::vector<Strip> strips = stripsOf(plane.height, phase, m_workers.count());
  m_workers.run(strips.size(), [&](size_t i, int worker) {
    const Strip& s = strips[i];
    liftTo({plane.part(0, s.from, plane.width, s.rows()), level.phaseX, (s.from + phase) & 1},
           placeOf(i, strips, plane, m_strips->data()), m_work[size_t(worker)]);
  });
  const int lows = lowRows(plane.height, phase);
  m_workers.run(strips.size(), [&](size_t i, int) {
    const Strip& s = strips[i];
    const PlaneView made = placeOf(i, strips, plane, m_strips->data());
    const int fromLow = lowRows(s.from, phase), toLow = lowRows(s.to, phase);
    const int low = lowRows(s.first, phase), endLow = lowRows(s.end, phase);
    copyRows(made, low - fromLow, plane, low, endLow - low);
    const int high = s.first - low, endHigh = s.end - endLow;
    copyRows(made, toLow - fromLow + high - (s.from - fromLow), plane, lows + high, endHigh - high);
  });
}

void Wavelets::inverseInStrips(const WaveletLevel& level) {
  const PlaneView& plane = level.plane;
  const int phase = level.phaseY, lows = lowRows(plane.height, phase);
  const std::vector<Strip> strips = stripsOf(plane.height, phase, m_workers.count());
  m_workers.run(strips.size(), [&](size_t i, int) {
    const Strip& s = strips[i];
    const PlaneView own = placeOf(i, strips, plane, m_strips->data());
    const int low = lowRows(s.from, phase), endLow = lowRows(s.to, phase);
    copyRows(plane, low, own, 0, endLow - low);
    const int high = s.from - low, endHigh = s.to - endLow;
    copyRows(plane, lows + high, own, endLow - low, endHigh - high);
  });
  m_workers.run(strips.size(), [&](size_t i, int worker) {
    const Strip& s = strips[i];
    const PlaneView own = placeOf(i, strips, plane, m_strips->data());
    lift<false>({own, level.phaseX, (s.from + phase) & 1}, m_work[size_t(worker)]);
    copyRows(own, s.first - s.from, plane, s.first, s.end - s.first);
  });
}

template <bool Forward>
void Wavelets::transformLevels(const CoefficientPlanes& planes, int worker) {
  planes.forEachLevel<Forward>(
      [&](const WaveletLevel& level) { lift<Forward>(level, m_work[size_t(worker)]); });
}

template <bool Forward>
void Wavelets::transformInStrips(const CoefficientPlanes& planes) {
  planes.forEachLevel<Forward>([&](const WaveletLevel& level) {
    if (level.plane.height < 2 * leastRows) return lift<Forward>(level, m_work[0]);
    Forward ? forwardInStrips(level) : inverseInStrips(level);
  });
}

/// How many of the components, from the first on, keep every thread busy as they are.
size_t Wavelets::wholeOnes(Planes planes) const {
  const auto threads = size_t(m_workers.count());
  return planes.size() / threads * threads;
}

int64_t Wavelets::stripBytes(Planes planes) const {
  int64_t most = 0;
  for (const CoefficientPlanes* p : planes.subspan(wholeOnes(planes))) {
    const PlaneView& top = p->samples();
    if (p->top() == 0 || top.height < 2 * leastRows) continue;
    // The phase moves cuts, and changes no number of rows.
    most = std::max(most, bytesOf(stripsOf(top.height, 0, m_workers.count()), top));
  }
  return most;
}

template <bool Forward>
void Wavelets::transform(Planes planes) {
  const size_t whole = wholeOnes(planes);
  m_workers.run(whole, [&](size_t i, int worker) { transformLevels<Forward>(*planes[i], worker); });
  const int64_t bytes = stripBytes(planes);
  if (bytes > m_stripBytes) {
    m_strips.reset();
    m_strips = std::make_unique<PlaneMemory>(size_t(bytes));
    m_stripBytes = bytes;
  }
  for (const CoefficientPlanes* p : planes.subspan(whole)) transformInStrips<Forward>(*p);
}

void Wavelets::forward(Planes planes) { transform<true>(planes); }
void Wavelets::inverse(Planes planes) { transform<false>(planes); }

}  // namespace j2k
