// The top level of the inverse wavelets, pair of rows after pair.
#include "synthesis.h"

#include <cstdlib>
#include <cstring>

#include "rkd/rkdjpeg.h"

namespace j2k {

namespace {

enum Orientation { lowLow = 0, highLow = 1, lowHigh = 2, highHigh = 3 };

struct Narrow {
  using Sample = int16_t;
  static constexpr auto row = rkdiWTInvRow_B53_JPEG2K_16s_C1R;
  static constexpr auto lift = rkdiWTInvColLift_B53_JPEG2K_16s_C1;
};
struct Wide {
  using Sample = int32_t;
  static constexpr auto row = rkdiWTInvRow_B53_JPEG2K_32s_C1R;
  static constexpr auto lift = rkdiWTInvColLift_B53_JPEG2K_32s_C1;
};
struct Real {
  using Sample = float;
  static constexpr auto row = rkdiWTInvRow_D97_JPEG2K_32f_C1R;
  static constexpr auto lift = rkdiWTInvColLift_D97_JPEG2K_32f_C1;
};

void checked(RkdStatus status) {
  if (status != rkdStsNoErr) std::abort();  // arguments are ours
}

/// Where a row beyond the ends lies inside: they are mirrors, which keep the parity.
int64_t mirrored(int64_t y, const Rect& window) {
  while (y < window.y0 || y >= window.y1) {
    y = y < window.y0 ? 2 * window.y0 - y : 2 * (window.y1 - 1) - y;
  }
  return y;
}

}  // namespace

RowSynthesis::RowSynthesis(const CoefficientPlanes& planes, size_t step, uint8_t* memory)
    : m_planes(planes), m_window(planes.window(planes.top())), m_work(memory) {
  m_rows = planes.samples();
  m_rows.data = memory + rowsInWork * step;
  m_rows.step = step;
  if (!isSynthesis()) return;
  const int top = planes.top();
  m_low[0] = planes.lows(top);
  m_low[1] = planes.band(top, lowHigh);
  m_high[0] = planes.band(top, highLow);
  m_high[1] = planes.band(top, highHigh);
}

/// A row of vertical lows or highs, of which both halves are there, into a row in work.
template <class Kernel>
typename Kernel::Sample* RowSynthesis::load(int orientation, int64_t index, size_t work) {
  using Sample = typename Kernel::Sample;
  const int parity = orientation >> 1;
  const int64_t y = mirrored(2 * index + parity, m_window);
  const int64_t row = (y - parity) / 2 - bandOf(m_window, orientation).y0;
  const PlaneView& low = m_low[parity];
  const PlaneView& high = m_high[parity];
  auto* const to = workRow<Sample>(work);
  checked(Kernel::row(low.row<Sample>(row), int(low.step), high.row<Sample>(row), int(high.step),
                      to, int(m_rows.step), {m_rows.width, 1}, int(m_window.x0 & 1)));
  return to;
}

/// A step takes low and high row m and gives pair m.
template <class Kernel>
void RowSynthesis::lift53(int64_t first, int64_t end) {
  using Sample = typename Kernel::Sample;
  constexpr size_t low = 0, high = 1, even = 3;
  Sample* above = workRow<Sample>(even);
  int64_t m = first;
  if (first != m_next) {
    // The pair above, for its even row.
    --m;
    load<Kernel>(lowHigh, m - 1, high + size_t((m - 1) & 1));
  }
  for (; m < end; ++m) {
    auto* const lows = load<Kernel>(lowLow, m, low);
    auto* const highs = load<Kernel>(lowHigh, m, high + size_t(m & 1));
    auto* const before = workRow<Sample>(high + size_t((m - 1) & 1));
    const bool wanted = m >= first;
    auto* const odd = m_rows.row<Sample>(wanted ? 2 * (m - first) : 0);
    auto* const below = wanted ? m_rows.row<Sample>(2 * (m - first) + 1) : above;
    checked(Kernel::lift(lows, before, highs, wanted ? above : lows, odd, below, m_rows.width));
    above = below;
  }
  // What the caller does with its rows must not change it.
  std::memcpy(workRow<Sample>(even), above, size_t(m_rows.width) * sizeof(Sample));
}

/// A step takes low and high row m + 1 and gives pair m.
template <class Kernel>
void RowSynthesis::lift97(int64_t first, int64_t end) {
  using Sample = typename Kernel::Sample;
  constexpr size_t low = 0, high = 1, states = 2;
  // The rows of a pair depend on four steps before theirs.
  constexpr int64_t lead = 4;
  Sample* const state[4] = {workRow<Sample>(states), workRow<Sample>(states + 1),
                            workRow<Sample>(states + 2), workRow<Sample>(states + 3)};
  int64_t m = first;
  if (first != m_next) {
    m -= lead;
    for (Sample* row : state) std::memset(row, 0, m_rows.step);
  }
  for (; m < end; ++m) {
    auto* const lows = load<Kernel>(lowLow, m + 1, low);
    auto* const highs = load<Kernel>(lowHigh, m + 1, high);
    const int64_t row = m < first ? 0 : 2 * (m - first);
    checked(Kernel::lift(lows, highs, state, m_rows.row<Sample>(row), m_rows.row<Sample>(row + 1),
                         m_rows.width));
  }
}

void RowSynthesis::makePairs(int64_t first, int64_t end) {
  switch (m_rows.arithmetic) {
    case Arithmetic::narrow:
      lift53<Narrow>(first, end);
      break;
    case Arithmetic::wide:
      lift53<Wide>(first, end);
      break;
    case Arithmetic::real:
      lift97<Real>(first, end);
      break;
  }
  m_next = end;
}

PlaneView RowSynthesis::rows(int64_t y0, int64_t y1) {
  const int64_t first = pairOf(y0);
  if (!isSynthesis()) {
    const PlaneView from = m_planes.samples();
    for (int64_t y = y0; y < y1; ++y) {
      std::memcpy(m_rows.row<uint8_t>(y - 2 * first + 1), from.row<uint8_t>(y - m_window.y0),
                  size_t(from.width) * sampleSize(from.arithmetic));
    }
  } else {
    makePairs(first, pairOf(y1 - 1) + 1);
  }
  return m_rows.part(0, y0 - 2 * first + 1, m_rows.width, y1 - y0);
}

}  // namespace j2k
