// Rows of a tile's components from the top level of their wavelets to what the caller has.
#include <algorithm>
#include <cstdlib>

#include "largepages.h"
#include "samples.h"
#include "synthesis.h"
#include "tiledecode.h"

namespace j2k {

namespace {

constexpr size_t mostTogether = 3;  ///< components

/// Pairs of rows that are made at a time: few, so that those of three components stay in the
/// second-level cache until they are stored.
int64_t pairsAtOnce(int64_t width) {
  constexpr int64_t samples = 8192;
  return std::max<int64_t>(1, samples / std::max<int64_t>(1, width));
}

}  // namespace

/// The step of rows of any components together.
size_t TileDecoder::rowStepOf(std::span<const size_t> components) const {
  size_t step = 0;
  for (const size_t c : components) {
    const PlaneView samples = m_components[c].planes->samples();
    step = std::max(step, rowStep(samples.arithmetic, samples.width));
  }
  return step;
}

/// Bytes that a thread needs for rows in work.
int64_t TileDecoder::rowBytes() const {
  const std::vector<size_t> components = wanted();
  int64_t pairs = 0;
  for (const size_t c : components) {
    pairs = std::max(pairs, pairsAtOnce(m_components[c].output.width()));
  }
  const size_t bytes = RowSynthesis::bytes(rowStepOf(components), pairs);
  return int64_t(bytes * std::min(mostTogether, components.size()));
}

/// Three components from this output on that can be stored as pixels.
bool TileDecoder::storesPixels(std::span<const SampleView> outputs, size_t first) const {
  if (first + 3 > outputs.size() || !arePixels(outputs.subspan(first, 3))) return false;
  const size_t index = size_t(m_plan.components[first]);
  const ComponentShape& shape = m_stream.shape.components[index];
  for (size_t i = 1; i < 3; ++i) {
    const size_t other = size_t(m_plan.components[first + i]);
    const ComponentShape& own = m_stream.shape.components[other];
    const Component& a = m_components[index];
    const Component& b = m_components[other];
    const bool alike = own.precision == shape.precision && own.isSigned == shape.isSigned &&
                       own.dx == shape.dx && own.dy == shape.dy && a.wanted == b.wanted &&
                       a.output == b.output;
    if (!alike || (a.wanted && a.planes->arithmetic() != b.planes->arithmetic())) return false;
  }
  return true;
}

SampleView TileDecoder::outputRows(const SampleView& output, int index, int64_t y0) const {
  const Rect whole = m_plan.output(m_stream.shape, index);
  const Rect& own = m_components[size_t(index)].output;
  return moved(output, own.x0 - whole.x0, own.y0 - whole.y0 + y0);
}

/// @param planes  of these outputs: of one component or, as pixels, of three
void TileDecoder::storeGroup(std::span<const SampleView> outputs, size_t first,
                             std::span<const PlaneView> planes, int64_t y) const {
  SampleView views[mostTogether];
  for (size_t i = 0; i < outputs.size(); ++i) {
    views[i] = outputRows(outputs[i], m_plan.components[first + i], y);
  }
  const ComponentShape& shape = m_stream.shape.components[size_t(m_plan.components[first])];
  storeSamples({{views, outputs.size()}, planes, shape.precision, shape.isSigned});
}

/// A few rows at a time are made, transformed to colours and stored.
void TileDecoder::storeRows(const StoreJob& job, std::span<const SampleView> outputs,
                            uint8_t* memory) const {
  std::vector<size_t> components;
  for (size_t i = 0; i < job.count; ++i) {
    components.push_back(size_t(m_plan.components[job.first + i]));
  }
  if (job.transformed) components = {0, 1, 2};
  const Rect& output = m_components[components[0]].output;
  const int64_t pairs = pairsAtOnce(output.width());
  const size_t step = rowStepOf(components);
  std::vector<RowSynthesis> synthesis;
  for (size_t i = 0; i < components.size(); ++i) {
    const CoefficientPlanes& planes = *m_components[components[i]].planes;
    synthesis.emplace_back(planes, step, memory + i * RowSynthesis::bytes(step, pairs));
  }
  const bool pixels = storesPixels(outputs, job.first);
  for (int64_t y = job.y0, end = 0; y < job.y1; y = end) {
    const int64_t first = output.y0 + y;
    end = std::min(job.y1, RowSynthesis::endOfPair(first + 2 * (pairs - 1)) - output.y0);
    PlaneView planes[mostTogether];
    for (size_t i = 0; i < components.size(); ++i) {
      const Component& c = m_components[components[i]];
      planes[i] = synthesis[i]
                      .rows(first, output.y0 + end)
                      .part(output.x0 - c.planes->window(c.top).x0, 0, output.width(), end - y);
    }
    if (job.transformed) inverseColour(planes);
    if (pixels) {
      storeGroup(outputs.subspan(job.first, 3), job.first, planes, y);
      continue;
    }
    for (size_t i = 0; i < job.count; ++i) {
      const size_t own = job.transformed ? size_t(m_plan.components[job.first + i]) : i;
      storeGroup(outputs.subspan(job.first + i, 1), job.first + i, {planes + own, 1}, y);
    }
  }
}

/// Rows of a band, of all that there are: all where one thread is alone, because what a band begins
/// with is made twice; else no two should come upon a large page of the output at the same time,
/// for the system would make it twice.
int64_t TileDecoder::storeRowsAtOnce(std::span<const SampleView> outputs, int64_t rows) const {
  constexpr int64_t least = 64, bandsOfThread = 4;
  if (m_workers.count() == 1) return std::max(least, rows);
  int64_t step = 1;
  for (const SampleView& output : outputs) step = std::max<int64_t>(step, std::abs(output.rowStep));
  const int64_t most = rows / (bandsOfThread * m_workers.count());
  return std::max(least, std::min(int64_t(largePage) / step + 1, most));
}

/// Band after band of all components.
/// @param transformed  whether the first three components are to be transformed
void TileDecoder::store(std::span<const SampleView> outputs, bool transformed) {
  std::vector<StoreJob> jobs;
  int64_t rows = 0;
  const auto isTransformed = [&](size_t i) { return transformed && m_plan.components[i] < 3; };
  for (const Component& c : m_components) {
    if (c.wanted) rows = std::max(rows, c.output.height());
  }
  const int64_t band = storeRowsAtOnce(outputs, rows);
  for (int64_t y = 0; y < rows; y += band) {
    for (size_t i = 0, count = 1; i < outputs.size(); i += count) {
      count = isTransformed(i)           ? std::min<size_t>(3, outputs.size())
              : storesPixels(outputs, i) ? 3
                                         : 1;
      const Component& component = m_components[size_t(m_plan.components[i])];
      if (!component.wanted || y >= component.output.height()) continue;
      jobs.push_back(
          {i, count, isTransformed(i), y, std::min(y + band, component.output.height())});
    }
  }
  constexpr size_t line = 64;
  const auto bytes = size_t(rowBytes());
  m_workers.run(jobs.size(), [&](size_t i, int worker) {
    auto& memory = m_rowMemory[size_t(worker)];
    if (memory.size() < bytes + line) memory.resize(bytes + line);
    uint8_t* const start = memory.data();
    storeRows(jobs[i], outputs, start + (line - reinterpret_cast<uintptr_t>(start) % line) % line);
  });
}

}  // namespace j2k
