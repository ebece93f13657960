// Planes of coefficients, and component transforms over them.
#include "transform.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>

#include "largepages.h"
#include "rkd/rkdcolor.h"

namespace j2k {

Arithmetic arithmeticFor(bool reversible, int precision, bool transformed) {
  if (!reversible) return Arithmetic::real;
  // All levels together make a coefficient at most 16 times a sample.
  return precision + (transformed ? 1 : 0) <= 11 ? Arithmetic::narrow : Arithmetic::wide;
}

bool sharesTiles(const ImageShape& shape, size_t tiles, int threads, int64_t memory) {
  constexpr size_t rounds = 4;
  if (threads < 2 || tiles < rounds * size_t(threads)) return false;
  const double width = double(std::min(shape.firstTile.width(), shape.image.width()));
  const double height = double(std::min(shape.firstTile.height(), shape.image.height()));
  constexpr double sample = 4, part = 0.25;
  return width * height * double(shape.components.size()) * sample * threads <=
         part * double(memory);
}

size_t rowStep(Arithmetic arithmetic, int64_t width) {
  const size_t step = (size_t(width) * sampleSize(arithmetic) + 63) / 64 * 64;
  return step % 2048 == 0 ? step + 64 : step;
}

namespace {

bool nested(const std::vector<Rect>& windows) {
  for (size_t r = 1; r < windows.size(); ++r) {
    if (bandOf(windows[r], 0) != windows[r - 1]) return false;
  }
  return true;
}

void checked(RkdStatus status) {
  if (status != rkdStsNoErr) std::abort();  // arguments are ours
}

}  // namespace

void PlaneMemory::Release::operator()(uint8_t* memory) const {
  if (mapped > 0) {
    munmap(memory, mapped);
  } else {
    std::free(memory);
  }
}

PlaneMemory::PlaneMemory(size_t bytes) : m_memory(nullptr, Release{0}) {
  constexpr size_t line = 64;
  const bool large = bytes >= 2 * largePage;
  const size_t unit = large ? largePage : line;
  void* const memory = large ? mmap(nullptr, bytes + unit, PROT_READ | PROT_WRITE,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                             : std::calloc(1, bytes + unit);
  if (memory == nullptr || memory == MAP_FAILED) throw std::bad_alloc();
  auto* const start = static_cast<uint8_t*>(memory);
  m_memory = {start, Release{large ? bytes + unit : 0}};
  m_first = start + (unit - reinterpret_cast<uintptr_t>(start) % unit) % unit;
  if (!large) return;
  (void)madvise(m_first, bytes, MADV_HUGEPAGE);  // a hint
  m_bytes = bytes;
  m_pages = (bytes + largePage - 1) / largePage;
  m_taken = std::make_unique<std::atomic<bool>[]>(m_pages);
}

void PlaneMemory::takePage(size_t page) const {
  if (m_taken[page].exchange(true)) return;
  const size_t at = page * largePage;
#ifdef MADV_POPULATE_WRITE
  // Where there is no large page there are small ones. One that is read before it is written to is
  // made twice, and the second time interrupts all processors.
  if (madvise(m_first + at, std::min(largePage, m_bytes - at), MADV_POPULATE_WRITE) == 0) return;
#endif
  *static_cast<volatile uint8_t*>(m_first + at) = 0;
}

void PlaneMemory::takePages(const uint8_t* first, const uint8_t* end) const {
  const auto behind = (size_t(end - m_first) + largePage - 1) / largePage;
  for (auto page = size_t(first - m_first) / largePage; page < behind; ++page) takePage(page);
}

void takePages(std::span<const CoefficientPlanes* const> planes, codecs::Workers& workers) {
  if (workers.count() == 1) return;
  std::vector<std::pair<const PlaneMemory*, size_t>> pages;
  for (const CoefficientPlanes* p : planes) {
    for (const PlaneMemory& memory : p->memory()) {
      for (size_t i = 0; i < memory.pages(); ++i) pages.emplace_back(&memory, i);
    }
  }
  workers.run(pages.size(), [&](size_t i, int) { pages[i].first->takePage(pages[i].second); });
}

int64_t CoefficientPlanes::bytes(Arithmetic arithmetic, const std::vector<Rect>& windows) {
  int64_t sum = 0;
  const bool shared = nested(windows);
  for (size_t r = shared ? windows.size() - 1 : 0; r < windows.size(); ++r) {
    sum += int64_t(rowStep(arithmetic, windows[r].width())) * windows[r].height();
  }
  return sum;
}

CoefficientPlanes::CoefficientPlanes(Arithmetic arithmetic, std::vector<Rect> windows)
    : m_windows(std::move(windows)), m_views(m_windows.size()) {
  const bool shared = nested(m_windows);
  for (size_t r = m_windows.size(); r-- > 0;) {
    const Rect& window = m_windows[r];
    PlaneView& view = m_views[r];
    if (shared && r + 1 < m_windows.size()) {
      view = m_views[r + 1].part(0, 0, window.width(), window.height());
      continue;
    }
    const size_t step = rowStep(arithmetic, window.width());
    m_memory.emplace_back(step * size_t(window.height()));
    view = {arithmetic, m_memory.back().data(), step, int(window.width()), int(window.height())};
  }
}

void CoefficientPlanes::takePages(const PlaneView& part) const {
  if (part.width <= 0 || part.height <= 0) return;
  const uint8_t* const first = part.row<uint8_t>(0);
  const uint8_t* const last = part.row<uint8_t>(part.height - 1);
  for (const PlaneMemory& memory : m_memory) {
    if (!memory.holds(first)) continue;
    memory.takePages(first, last + size_t(part.width) * sampleSize(part.arithmetic));
  }
}

void CoefficientPlanes::takePages() const {
  for (int r = 0; r <= topInPlace(); ++r) takePages(m_views[size_t(r)]);
}

PlaneView CoefficientPlanes::band(int resolution, int orientation) const {
  const PlaneView& view = m_views[size_t(resolution)];
  if (resolution == 0) return view;
  const Rect& window = m_windows[size_t(resolution)];
  const Rect low = bandOf(window, 0), rect = bandOf(window, orientation);
  return view.part(orientation & 1 ? low.width() : 0, orientation & 2 ? low.height() : 0,
                   rect.width(), rect.height());
}

WaveletLevel CoefficientPlanes::level(int resolution) const {
  const Rect& w = window(resolution);
  return {m_views[size_t(resolution)], int(w.x0 & 1), int(w.y0 & 1)};
}

PlaneView CoefficientPlanes::lows(int resolution) const {
  const Rect low = bandOf(window(resolution), 0), from = window(resolution - 1);
  return m_views[size_t(resolution) - 1].part(low.x0 - from.x0, low.y0 - from.y0, low.width(),
                                              low.height());
}

/// The lows of a level, where the samples of the one below have memory of their own.
void CoefficientPlanes::takeLows(int resolution) const {
  const PlaneView& view = m_views[size_t(resolution)];
  const PlaneView from = lows(resolution);
  if (from.data == view.data) return;
  for (int y = 0; y < from.height; ++y) {
    std::memcpy(view.row<uint8_t>(y), from.row<uint8_t>(y),
                size_t(from.width) * sampleSize(view.arithmetic));
  }
}

namespace {

template <bool Forward>
void colour(const PlaneView planes[3]) {
  const PlaneView& first = planes[0];
  const RkdiSize size = {first.width, first.height};
  if (size.width == 0 || size.height == 0) return;
  const int step = int(first.step);
  switch (first.arithmetic) {
    case Arithmetic::narrow: {
      int16_t* const p[3] = {planes[0].row<int16_t>(0), planes[1].row<int16_t>(0),
                             planes[2].row<int16_t>(0)};
      checked((Forward ? rkdiRCTFwd_JPEG2K_16s_P3IR : rkdiRCTInv_JPEG2K_16s_P3IR)(p, step, size));
      break;
    }
    case Arithmetic::wide: {
      int32_t* const p[3] = {planes[0].row<int32_t>(0), planes[1].row<int32_t>(0),
                             planes[2].row<int32_t>(0)};
      checked((Forward ? rkdiRCTFwd_JPEG2K_32s_P3IR : rkdiRCTInv_JPEG2K_32s_P3IR)(p, step, size));
      break;
    }
    case Arithmetic::real: {
      float* const p[3] = {planes[0].row<float>(0), planes[1].row<float>(0),
                           planes[2].row<float>(0)};
      checked((Forward ? rkdiICTFwd_JPEG2K_32f_P3IR : rkdiICTInv_JPEG2K_32f_P3IR)(p, step, size));
      break;
    }
  }
}

}  // namespace

void forwardColour(const PlaneView planes[3]) { colour<true>(planes); }
void inverseColour(const PlaneView planes[3]) { colour<false>(planes); }

}  // namespace j2k
