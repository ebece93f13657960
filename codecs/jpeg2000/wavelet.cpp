// Levels of wavelets, of whole components and in parts.
#include "wavelet.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "diag.h"
#include "rkd/rkdjpeg.h"

namespace j2k {

uint8_t* WorkMemories::Loan::atLeast(size_t bytes) {
  if (bytes > m_memory.size()) {
    m_memory = {};  // what is in it need not be copied
    m_memory.resize(bytes);
  }
  return m_memory.data();
}

WorkMemories::Memory WorkMemories::take() {
  const std::lock_guard lock(m_mutex);
  if (m_free.empty()) {
    m_free.reserve(m_count + 1);
    ++m_count;
    return {};
  }
  Memory memory = std::move(m_free.back());
  m_free.pop_back();
  return memory;
}

void WorkMemories::giveBack(Memory memory) noexcept {
  const std::lock_guard lock(m_mutex);
  const auto place = std::find_if(m_free.begin(), m_free.end(), [&](const Memory& other) {
    return other.size() > memory.size();
  });
  m_free.insert(place, std::move(memory));
}

namespace {

void checked(RkdStatus status) {
  if (status != rkdStsNoErr) std::abort();  // arguments are ours
}

RkdiSize sizeOf(const PlaneView& view) { return {view.width, view.height}; }

/// Work memory that the library's transforms take; none of nothing.
size_t workBytesOf(const PlaneView& view) {
  static constexpr RkdDataType types[] = {rkd16s, rkd32s, rkd32f};
  if (view.width == 0 || view.height == 0) return 0;
  int bytes = 0;
  if (rkdiWTGetBufSize_JPEG2K(sizeOf(view), types[size_t(view.arithmetic)], &bytes) !=
      rkdStsNoErr) {
    fail(Diag::memoryLimit, std::to_string(view.width) + "x" + std::to_string(view.height) +
                                " samples are more than the wavelet takes");
  }
  return (size_t(bytes) + 63) / 64 * 64;
}

/// A level in place.
/// @param work  of workBytesOf(l.plane)
template <bool Forward>
void lift(const WaveletLevel& l, uint8_t* work) {
  const int step = int(l.plane.step);
  const auto run = [&](auto call, auto* data) {
    checked(call(data, step, sizeOf(l.plane), l.phaseX, l.phaseY, work));
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

// ---- parts of a level, by a thread each ----

struct Rows {
  int first, end;
  int count() const { return end - first; }
};

/// Low ones among the first rows of a level.
int lowRows(int rows, int phase) { return (rows + 1 - phase) / 2; }

/// Rows around a cut between two parts: of these the results depend on both sides, and on no more
/// than `around`.
struct Seam {
  Rows rows, around;
};
constexpr int rowsAroundSeam = 4 * waveletReach;

/// A level cut into halves, and these again. Coefficients of a level lie low rows first; those of
/// its halves do so half by half. One changes into the other by an exchange of neighbouring blocks
/// of as many rows: the first half's high ones and the second half's low ones.
class Division {
 public:
  struct Exchange {
    int first, count;  ///< rows from `first` on, and as many behind them
  };

  Division(int height, int phase, int threads) : parts_{{0, height}} {
    const bool isPowerOfTwo = (threads & (threads - 1)) == 0;
    const size_t wanted = size_t(isPowerOfTwo ? threads : 2 * threads);
    while (parts_.size() < wanted && height / int(2 * parts_.size()) >= leastRows) halve(phase);
    for (size_t i = 1; i < parts_.size(); ++i) {
      const int cut = parts_[i].first;
      seams_.push_back({{cut - waveletReach, cut + waveletReach},
                        {cut - 2 * waveletReach, cut + 2 * waveletReach}});
    }
  }
  static constexpr int leastRows = 64;

  const std::vector<Rows>& parts() const { return parts_; }
  const std::vector<Seam>& seams() const { return seams_; }
  /// In the order in which a level is cut.
  const std::vector<std::vector<Exchange>>& exchanges() const { return exchanges_; }

 private:
  void halve(int phase) {
    std::vector<Rows> halves;
    std::vector<Exchange> exchanges;
    for (const Rows& part : parts_) {
      const int own = (part.first + phase) & 1;
      // So that both blocks of an exchange have as many rows.
      const int half = lowRows(part.count(), own), lows = lowRows(half, own);
      exchanges.push_back({part.first + lows, half - lows});
      halves.push_back({part.first, part.first + half});
      halves.push_back({part.first + half, part.end});
    }
    parts_ = std::move(halves);
    exchanges_.push_back(std::move(exchanges));
  }

  std::vector<Rows> parts_;
  std::vector<Seam> seams_;
  std::vector<std::vector<Exchange>> exchanges_;
};

/// The memory of what is around a seam.
PlaneView placeOf(size_t index, const PlaneView& level, uint8_t* memory) {
  PlaneView view = level;
  view.data = memory + index * rowsAroundSeam * level.step;
  view.height = rowsAroundSeam;
  return view;
}

size_t rowBytes(const PlaneView& plane) {
  return size_t(plane.width) * sampleSize(plane.arithmetic);
}

void copyRows(const PlaneView& from, int fromRow, const PlaneView& to, int toRow, int rows) {
  for (int y = 0; y < rows; ++y) {
    std::memcpy(to.row<uint8_t>(toRow + y), from.row<uint8_t>(fromRow + y), rowBytes(from));
  }
}

/// Where the coefficients of the rows `wanted` lie in a level of so many rows, and in one of its
/// rows `around` alone: calls copy(row of the level, row of the other, count) for the low ones and
/// for the high ones.
template <class Copy>
void eachHalf(const Rows& wanted, const Rows& around, int height, int phase, const Copy& copy) {
  const int lowsAbove = lowRows(around.first, phase),
            lowsAround = lowRows(around.end, phase) - lowsAbove;
  const int low = lowRows(wanted.first, phase), endLow = lowRows(wanted.end, phase);
  copy(low, low - lowsAbove, endLow - low);
  const int high = wanted.first - low, endHigh = wanted.end - endLow;
  copy(lowRows(height, phase) + high, lowsAround + high - (around.first - lowsAbove),
       endHigh - high);
}

void exchangeRows(const PlaneView& plane, int one, int other) {
  constexpr size_t chunk = 4096;
  alignas(64) uint8_t kept[chunk];
  for (size_t at = 0; at < rowBytes(plane); at += chunk) {
    const size_t bytes = std::min(chunk, rowBytes(plane) - at);
    uint8_t *const a = plane.row<uint8_t>(one) + at, *const b = plane.row<uint8_t>(other) + at;
    std::memcpy(kept, a, bytes);
    std::memcpy(a, b, bytes);
    std::memcpy(b, kept, bytes);
  }
}

void exchange(const PlaneView& plane, const std::vector<Division::Exchange>& exchanges,
              codecs::Workers& workers) {
  const auto shares = size_t(workers.count());
  workers.run(exchanges.size() * shares, [&](size_t i, int) {
    const Division::Exchange& e = exchanges[i / shares];
    const auto share = int64_t(i % shares);
    const auto rowOf = [&](int64_t at) { return int(e.count * at / int64_t(shares)); };
    for (int y = rowOf(share); y < rowOf(share + 1); ++y) {
      exchangeRows(plane, e.first + y, e.first + e.count + y);
    }
  });
}

/// Work memory of any of the parts, or of a seam.
size_t partBytes(const PlaneView& plane, const Division& division) {
  int rows = division.seams().empty() ? 0 : rowsAroundSeam;
  for (const Rows& part : division.parts()) rows = std::max(rows, part.count());
  PlaneView part = plane;
  part.height = rows;
  return workBytesOf(part);
}

}  // namespace

/// What the levels of a component take at most, whole or in parts: so that all of them, and the
/// next component, use the same.
size_t Wavelets::bytesFor(const CoefficientPlanes& planes) const {
  const PlaneView& top = planes.samples();
  const Division division(top.height, 0, m_workers.count());
  return std::max(workBytesOf(top), partBytes(top, division) * size_t(m_workers.count()));
}

/// Each part in place, with wrong results at the seams; these from copies of what is around them.
void Wavelets::liftInParts(const WaveletLevel& level, WorkMemories::Loan& work) {
  const PlaneView& plane = level.plane;
  const int phase = level.phaseY;
  const Division division(plane.height, phase, m_workers.count());
  const std::vector<Seam>& seams = division.seams();
  const auto at = [&](size_t i) { return placeOf(i, plane, m_seams->data()); };

  for (size_t i = 0; i < seams.size(); ++i) {
    const Rows& around = seams[i].around;
    copyRows(plane, around.first, at(i), 0, around.count());
  }
  const size_t bytes = partBytes(plane, division);
  uint8_t* const memory = work.atLeast(bytes * size_t(m_workers.count()));
  m_workers.run(division.parts().size(), [&](size_t i, int worker) {
    const Rows& part = division.parts()[i];
    lift<true>({plane.part(0, part.first, plane.width, part.count()), level.phaseX,
                (part.first + phase) & 1},
               memory + bytes * size_t(worker));
  });
  for (size_t i = division.exchanges().size(); i-- > 0;) {
    exchange(plane, division.exchanges()[i], m_workers);
  }
  for (size_t i = 0; i < seams.size(); ++i) {
    const Rows &rows = seams[i].rows, &around = seams[i].around;
    lift<true>({at(i), level.phaseX, (around.first + phase) & 1}, memory);
    eachHalf(rows, around, plane.height, phase,
             [&](int row, int own, int count) { copyRows(at(i), own, plane, row, count); });
  }
}

/// How many of the components, from the first on, keep every thread busy as they are.
size_t Wavelets::wholeOnes(Planes planes) const {
  const auto threads = size_t(m_workers.count());
  return planes.size() / threads * threads;
}

size_t Wavelets::inverseBytes(const CoefficientPlanes& planes) {
  const int top = planes.topInPlace();
  return top == 0 ? 0 : workBytesOf(planes.level(top).plane);
}

int64_t Wavelets::seamBytes(Planes planes) const {
  int64_t most = 0;
  for (const CoefficientPlanes* p : planes.subspan(wholeOnes(planes))) {
    const PlaneView& top = p->samples();
    if (p->top() == 0) continue;
    // The phase moves cuts, and changes no number of rows.
    const size_t seams = Division(top.height, 0, m_workers.count()).seams().size();
    most = std::max(most, int64_t(seams * rowsAroundSeam * top.step));
  }
  return most;
}

int64_t Wavelets::workBytes(Planes planes) const {
  size_t most = 0;
  for (const CoefficientPlanes* p : planes) most = std::max(most, bytesFor(*p));
  return int64_t(most * std::min(planes.size(), size_t(m_workers.count())));
}

int64_t Wavelets::inverseBytes(Planes planes) const {
  size_t most = 0;
  for (const CoefficientPlanes* p : planes) most = std::max(most, inverseBytes(*p));
  return int64_t(most * std::min(planes.size(), size_t(m_workers.count())));
}

void Wavelets::forward(Planes planes) {
  const size_t whole = wholeOnes(planes);
  m_workers.run(whole, [&](size_t i, int) {
    WorkMemories::Loan work(m_work);
    (void)work.atLeast(bytesFor(*planes[i]));
    planes[i]->forEachLevelDown([&](const WaveletLevel& level) {
      lift<true>(level, work.atLeast(workBytesOf(level.plane)));
    });
  });
  const int64_t bytes = seamBytes(planes);
  if (bytes > m_seamBytes) {
    m_seams.reset();
    m_seams = std::make_unique<PlaneMemory>(size_t(bytes));
    m_seamBytes = bytes;
  }
  for (const CoefficientPlanes* p : planes.subspan(whole)) {
    WorkMemories::Loan work(m_work);
    (void)work.atLeast(bytesFor(*p));
    p->forEachLevelDown([&](const WaveletLevel& level) { liftInParts(level, work); });
  }
}

void Wavelets::inverse(const CoefficientPlanes& planes) {
  WorkMemories::Loan work(m_work);
  (void)work.atLeast(inverseBytes(planes));
  planes.forEachLevelUp([&](const WaveletLevel& level) {
    lift<false>(level, work.atLeast(workBytesOf(level.plane)));
  });
}

}  // namespace j2k
