// One tile from its tile-parts to samples.
#include "tiledecode.h"

#include <algorithm>
#include <atomic>

#include "largepages.h"
#include "packetwalk.h"
#include "samples.h"

namespace j2k {

TileDecoder::TileDecoder(const Codestream& stream, const DecodePlan& plan, const Budget& budget,
                         Reporter& report)
    : m_stream(stream),
      m_plan(plan),
      m_budget(budget),
      m_report(report),
      m_workers(plan.threads),
      m_wavelets(m_workers) {
  for (int t = 0; t < m_workers.count(); ++t)
    m_decoders.push_back(std::make_unique<BlockDecoder>());
}

void TileDecoder::reset() {
  m_geometry.clear();
  m_components.clear();
  m_chunks.clear();
  m_jobs.clear();
}

namespace {

/// Whether the first three components can be transformed together; told when they cannot.
bool transformable(const std::vector<ComponentShape>& shapes, const Coding& coding) {
  if (shapes.size() < 3) return false;
  for (size_t c = 1; c < 3; ++c) {
    if (shapes[c].dx != shapes[0].dx || shapes[c].dy != shapes[0].dy ||
        coding.components[c].reversible != coding.components[0].reversible) {
      return false;
    }
  }
  return true;
}

void checkSteps(const Coding& coding) {
  for (size_t c = 0; c < coding.components.size(); ++c) {
    const Quantization& q = coding.quantization[c];
    if (q.style != Quantization::derived && q.count <= 3 * coding.components[c].partition.levels) {
      fail(Diag::badQcd, std::to_string(q.count) + " steps for component " + std::to_string(c));
    }
  }
}

}  // namespace

void TileDecoder::prepare(const Rect& tile, const Coding& coding, Budget& budget) {
  const std::vector<ComponentShape>& shapes = m_stream.shape.components;
  m_components.resize(shapes.size());
  m_geometry.resize(shapes.size());
  int precision = 0;
  for (size_t c = 0; c < std::min<size_t>(3, shapes.size()); ++c) {
    precision = std::max(precision, shapes[c].precision);
  }
  for (size_t c = 0; c < shapes.size(); ++c) {
    Component& component = m_components[c];
    const ComponentCoding& own = coding.components[c];
    m_geometry[c].rect = dividedBy(tile, shapes[c].dx, shapes[c].dy);
    if (m_geometry[c].rect.empty()) continue;
    budget.take(int64_t(sizeof(Resolution)) * (own.partition.levels + 1));
    m_geometry[c] = TileComponent(tile, shapes[c], own.partition);
    component.precincts.resize(size_t(own.partition.levels) + 1);
    component.top = own.partition.levels - m_plan.reduce;
    if (component.top < 0) fail(Diag::reduceTooFar, "component " + std::to_string(c));
  }
  const bool together = coding.transform;
  for (const int index : m_plan.components) {
    const bool withOthers = together && index < 3;
    for (int c = withOthers ? 0 : index; c <= (withOthers ? 2 : index); ++c) {
      m_components[size_t(c)].wanted = true;
    }
  }
  for (size_t c = 0; c < shapes.size(); ++c) {
    Component& component = m_components[c];
    component.wanted = component.wanted && !m_geometry[c].rect.empty();
    if (!component.wanted) continue;
    const Rect& rect = m_geometry[c].resolutions[size_t(component.top)].rect;
    component.output = intersection(m_plan.output(m_stream.shape, int(c)), rect);
    component.wanted = !component.output.empty();
    if (!component.wanted) continue;
    const bool transformed = together && c < 3;
    const Arithmetic arithmetic =
        arithmeticFor(coding.components[c].reversible,
                      transformed ? precision : shapes[c].precision, transformed);
    auto windows = computedWindows(m_geometry[c], component.top, component.output, waveletReach);
    budget.take(CoefficientPlanes::bytes(arithmetic, windows));
    if (component.output.width() > (1 << 28) || component.output.height() > (1 << 28)) {
      fail(Diag::memoryLimit, "a side of more than 2^28 samples");
    }
    component.planes = std::make_unique<CoefficientPlanes>(arithmetic, std::move(windows));
  }
  chooseTogether();
  budget.take(m_wavelets.seamBytes(planesOf(m_together)));
  budget.take(m_wavelets.workBytes(planesOf(wanted())));
}

bool TileDecoder::needed(const PacketIndex& packet) const {
  const Component& component = m_components[size_t(packet.component)];
  if (!component.wanted || packet.resolution > component.top || packet.layer >= m_plan.maxLayers) {
    return false;
  }
  const Resolution& resolution =
      m_geometry[size_t(packet.component)].resolutions[size_t(packet.resolution)];
  const Rect& window = component.planes->window(packet.resolution);
  if (window == resolution.rect) return true;
  for (int b = 0; b < resolution.bandCount; ++b) {
    const Rect part =
        packet.resolution == 0 ? window : bandOf(window, resolution.bands[size_t(b)].orientation);
    if (!intersection(resolution.blocks(b, packet.precinct).rect, part).empty()) return true;
  }
  return false;
}

PrecinctState& TileDecoder::precinctFor(const PacketIndex& packet, Budget& budget) {
  Component& component = m_components[size_t(packet.component)];
  auto& list = component.precincts[size_t(packet.resolution)];
  if (packet.precinct >= int64_t(list.size())) list.resize(size_t(packet.precinct) + 1);
  auto& precinct = list[size_t(packet.precinct)];
  if (!precinct) {
    const Resolution& resolution =
        m_geometry[size_t(packet.component)].resolutions[size_t(packet.resolution)];
    budget.take(PrecinctState::bytes(resolution, packet.precinct));
    precinct = std::make_unique<PrecinctState>(resolution, packet.precinct);
  }
  return *precinct;
}

/// How many packets belong to what is wanted, regions apart: behind the last of them nothing needs
/// to be looked at. Of what is decoded whole every packet is wanted, and a number above all, so
/// that what follows the last one is told.
int64_t TileDecoder::wantedPackets(const Coding& coding) const {
  constexpr int64_t all = INT64_MAX;
  bool whole = coding.layers <= m_plan.maxLayers;
  const double layers = std::min(coding.layers, m_plan.maxLayers);
  double sum = 0;
  for (size_t c = 0; c < m_components.size(); ++c) {
    for (const Resolution& r : m_geometry[c].resolutions) {
      const bool wanted = m_components[c].wanted && r.index <= m_components[c].top;
      whole = whole && (wanted || r.precincts() == 0);
      if (wanted) sum += double(r.precincts()) * layers;
    }
  }
  return whole || sum > 1e15 ? all : int64_t(sum);
}

void TileDecoder::readPackets(int64_t tile, TileHeader& header, Budget& budget) {
  const Budget before = budget;
  if (walkPackets(tile, header, budget)) return;
  m_report.warn(Diag::segmentIgnored, "PLT or PLM of tile " + std::to_string(tile));
  header.packetLengths.clear();
  m_chunks.clear();
  for (Component& component : m_components) {
    for (auto& list : component.precincts) list.clear();
  }
  budget = before;
  (void)walkPackets(tile, header, budget);
}

bool TileDecoder::walkPackets(int64_t tile, const TileHeader& header, Budget& budget) {
  const Rect rect = m_stream.shape.tile(tile);
  PacketOrder order(rect, m_stream.shape, m_geometry, header.coding);
  PacketReader reader(m_chunks);
  PacketWalk walk(m_stream, tile, header, m_report);
  int64_t left = wantedPackets(header.coding);
  while (const auto packet = left > 0 ? order.next() : std::nullopt) {
    Component& component = m_components[size_t(packet->component)];
    if (component.wanted && packet->resolution <= component.top &&
        packet->layer < m_plan.maxLayers) {
      --left;
    }
    const bool keep = needed(*packet);
    if (!keep && walk.skip()) continue;
    if (walk.misled()) return false;
    const PacketWalk::Next next = walk.find();
    if (next == PacketWalk::Next::ended) {
      m_report.warn(Diag::packetsMissing, "tile " + std::to_string(tile));
      return true;
    }
    auto& list = component.precincts[size_t(packet->resolution)];
    const bool known =
        packet->precinct < int64_t(list.size()) && list[size_t(packet->precinct)] != nullptr;
    if (next == PacketWalk::Next::lost) {
      precinctFor(*packet, budget).damaged = true;
      continue;
    }
    if (!known && walk.skipEmpty()) continue;
    PrecinctState& precinct = precinctFor(*packet, budget);
    if (precinct.damaged) {
      walk.lose();
      continue;
    }
    const int style = header.coding.components[size_t(packet->component)].style;
    const size_t chunks = m_chunks.size();
    const bool good = walk.read(precinct, packet->layer, style, keep, reader);
    if (walk.misled()) return false;
    if (!good) continue;
    budget.take(int64_t(m_chunks.size() - chunks) * int64_t(sizeof(Chunk)));
  }
  if (left > 0) walk.finish();
  return true;
}

BandCoding TileDecoder::bandCoding(const Coding& coding, int component, const Band& band) const {
  const Quantization& q = coding.quantization[size_t(component)];
  const ComponentCoding& own = coding.components[size_t(component)];
  const int gain = (band.orientation & 1) + (band.orientation >> 1);
  BandCoding b;
  b.orientation = band.orientation;
  b.style = own.style;
  b.roiShift = coding.roiShift[size_t(component)];
  b.planes = q.planes(band.index) + b.roiShift;
  b.reversible = own.reversible;
  b.step = float(q.step(band.index, m_stream.shape.components[size_t(component)].precision, gain));
  return b;
}

void TileDecoder::addJobs(int component, const Resolution& resolution,
                          const PrecinctState& precinct, const Coding& coding) {
  const CoefficientPlanes& planes = *m_components[size_t(component)].planes;
  const Rect& window = planes.window(resolution.index);
  for (int b = 0; b < resolution.bandCount; ++b) {
    const Band& band = resolution.bands[size_t(b)];
    const Rect part = resolution.index == 0 ? window : bandOf(window, band.orientation);
    const PrecinctState::PerBand& state = precinct.bands[size_t(b)];
    const PlaneView plane = planes.band(resolution.index, band.orientation);
    const BandCoding own = bandCoding(coding, component, band);
    for (int i = 0; i < int(state.blocks.size()); ++i) {
      const BlockState& block = state.blocks[size_t(i)];
      if (block.firstChunk < 0) continue;
      const Rect rect = state.grid.block(i % state.grid.wide, i / state.grid.wide);
      if (intersection(rect, part).empty()) continue;
      if (own.planes - block.zeroPlanes > rkdCodeBlockMaxPlanes) {
        m_report.warn(Diag::precisionLost, "component " + std::to_string(component));
      }
      m_jobs.push_back(
          {&block, rect, plane, rect.x0 - part.x0, rect.y0 - part.y0, own, size_t(component)});
    }
  }
}

std::vector<size_t> TileDecoder::wanted() const {
  std::vector<size_t> list;
  for (size_t c = 0; c < m_components.size(); ++c) {
    if (m_components[c].wanted) list.push_back(c);
  }
  return list;
}

std::vector<const CoefficientPlanes*> TileDecoder::planesOf(
    const std::vector<size_t>& components) const {
  std::vector<const CoefficientPlanes*> planes;
  planes.reserve(components.size());
  for (const size_t c : components) planes.push_back(m_components[c].planes.get());
  return planes;
}

/// The largest one, where there are others for all threads; all where threads would be left over.
void TileDecoder::chooseTogether() {
  m_together = wanted();
  if (m_together.empty() || size_t(m_workers.count()) > m_together.size()) return;
  const auto samples = [&](size_t c) {
    return m_components[c].output.width() * m_components[c].output.height();
  };
  m_together = {*std::max_element(m_together.begin(), m_together.end(),
                                  [&](size_t a, size_t b) { return samples(a) < samples(b); })};
}

/// In which order blocks are decoded. One thread transforms a component as soon as its last block
/// is decoded, while the others decode blocks of the largest component: these are spread among
/// those of the others, because two threads that transform wait for the memory.
std::vector<size_t> TileDecoder::taskOrder() const {
  std::vector<size_t> begins(m_components.size() + 1, m_jobs.size());
  for (size_t i = m_jobs.size(); i-- > 0;) begins[m_jobs[i].component] = i;
  for (size_t c = m_components.size(); c-- > 0;) begins[c] = std::min(begins[c], begins[c + 1]);

  std::vector<size_t> order;
  order.reserve(m_jobs.size());
  const auto add = [&](size_t from, size_t to) {
    for (; from < to; ++from) order.push_back(from);
  };
  std::vector<size_t> alone = wanted();
  std::erase_if(alone, [&](size_t c) { return c == m_together.front(); });
  const size_t last = begins[m_together.front()];
  const size_t count = begins[m_together.front() + 1] - last;
  for (size_t i = 0; i < alone.size(); ++i) {
    add(begins[alone[i]], begins[alone[i] + 1]);
    add(last + count * i / alone.size(), last + count * (i + 1) / alone.size());
  }
  if (alone.empty()) add(last, last + count);
  return order;
}

/// Before the block is decoded: another one of the same page, by another thread, is not written
/// before it is decoded, and then the page is there.
void TileDecoder::takePagesFor(const BlockJob& job) const {
  const int64_t y0 = std::max<int64_t>(0, job.y);
  const int64_t y1 = std::min<int64_t>(job.plane.height, job.y + job.rect.height());
  m_components[job.component].planes->takePages(job.plane.part(0, y0, job.plane.width, y1 - y0));
}

/// Blocks to coefficients, and these to samples.
void TileDecoder::reconstruct(int64_t tile, const Coding& coding) {
  for (const size_t c : wanted()) {
    for (int r = 0; r <= m_components[c].top; ++r) {
      for (const auto& precinct : m_components[c].precincts[size_t(r)]) {
        if (!precinct) continue;
        addJobs(int(c), m_geometry[c].resolutions[size_t(r)], *precinct, coding);
      }
    }
  }
  if (m_jobs.empty()) return;  // all samples are zeros
  std::vector<std::atomic<int>> left(m_components.size());
  for (const BlockJob& job : m_jobs) ++left[job.component];
  // What is transformed together never comes to its end here.
  for (const size_t c : m_together) ++left[c];
  std::atomic<int> damaged{0};
  const std::vector<size_t> order = taskOrder();
  const bool alone = m_workers.count() == 1;
  m_workers.run(order.size(), [&](size_t i, int worker) {
    const BlockJob& job = m_jobs[order[i]];
    const CoefficientPlanes& planes = *m_components[job.component].planes;
    if (!alone) takePagesFor(job);
    if (!m_decoders[size_t(worker)]->decode(*job.block, m_chunks, job.coding, job.rect, job.plane,
                                            job.x, job.y)) {
      ++damaged;
    }
    if (--left[job.component] == 0) {
      if (!alone) planes.takePages();
      m_wavelets.inverse(planes);
    }
  });
  if (damaged > 0) {
    m_report.warn(Diag::blockDamaged, std::to_string(damaged) + " in tile " + std::to_string(tile));
  }
  takePages(planesOf(m_together), m_workers);
  m_wavelets.inverse(planesOf(m_together));
}

namespace {

/// Rows of some components.
struct StoreJob {
  size_t first, count;  ///< outputs
  int64_t y0, y1;
};

}  // namespace

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
                       a.top == b.top;
    if (!alike || (a.wanted && a.planes->arithmetic() != b.planes->arithmetic())) return false;
  }
  return true;
}

SampleView TileDecoder::outputRows(const SampleView& output, int index, int64_t y0) const {
  const Rect whole = m_plan.output(m_stream.shape, index);
  const Rect& own = m_components[size_t(index)].output;
  return moved(output, own.x0 - whole.x0, own.y0 - whole.y0 + y0);
}

PlaneView TileDecoder::planeRows(int index, int64_t y0, int64_t y1) const {
  const Component& component = m_components[size_t(index)];
  const Rect& own = component.output;
  const Rect& window = component.planes->window(component.top);
  return component.planes->samples().part(own.x0 - window.x0, own.y0 - window.y0 + y0, own.width(),
                                          y1 - y0);
}

void TileDecoder::finishRows(int index, int64_t y0, int64_t y1) {
  const Component& component = m_components[size_t(index)];
  const int64_t top = component.output.y0 - component.planes->window(component.top).y0;
  component.planes->finish(top + y0, top + y1, m_workers.count());
}

/// @param views  of one component or, as pixels, of three
void TileDecoder::storeGroup(std::span<const SampleView> views, std::span<const PlaneView> planes,
                             int index) const {
  const ComponentShape& shape = m_stream.shape.components[size_t(index)];
  storeSamples({views, planes, shape.precision, shape.isSigned});
}

void TileDecoder::storeRows(std::span<const SampleView> outputs, size_t first, int64_t y0,
                            int64_t y1) {
  SampleView views[3];
  PlaneView planes[3];
  for (size_t i = 0; i < outputs.size(); ++i) {
    const int index = m_plan.components[first + i];
    views[i] = outputRows(outputs[i], index, y0);
    planes[i] = planeRows(index, y0, y1);
  }
  storeGroup({views, outputs.size()}, {planes, outputs.size()}, m_plan.components[first]);
  for (size_t i = 0; i < outputs.size(); ++i) finishRows(m_plan.components[first + i], y0, y1);
}

/// All of the components that are transformed together, or one of them; a few rows at a time, which
/// stay in the second-level cache until they are stored.
void TileDecoder::storeTransformed(std::span<const SampleView> outputs, int64_t y0, int64_t y1) {
  constexpr int64_t samples = 32768;
  const bool pixels = storesPixels(outputs, 0);
  const int64_t width = std::max<int64_t>(1, m_components[0].output.width());
  const int64_t rows = std::max<int64_t>(1, samples / width);
  for (int64_t y = y0; y < y1; y += rows) {
    const int64_t end = std::min(y + rows, y1);
    const PlaneView planes[3] = {planeRows(0, y, end), planeRows(1, y, end), planeRows(2, y, end)};
    inverseColour(planes);
    SampleView views[3];
    for (size_t i = 0; i < outputs.size(); ++i) {
      const int index = m_plan.components[i];
      views[i] = outputRows(outputs[i], index, y);
      if (!pixels) storeGroup({views + i, 1}, {planes + index, 1}, index);
    }
    if (pixels) storeGroup(views, planes, 0);
  }
  for (int c = 0; c < 3; ++c) finishRows(c, y0, y1);
}

/// Rows of a band, of all that there are: no two threads should come upon a large page of the
/// output at the same time, for the system would make it twice.
int64_t TileDecoder::storeRowsAtOnce(std::span<const SampleView> outputs, int64_t rows) const {
  constexpr int64_t least = 64, bandsOfThread = 4;
  int64_t step = 1;
  for (const SampleView& output : outputs) step = std::max<int64_t>(step, std::abs(output.rowStep));
  const int64_t most = rows / (bandsOfThread * m_workers.count());
  return std::max(least, std::min(int64_t(largePage) / step + 1, most));
}

/// Band after band of all components, so that memory of the planes is given back while that of the
/// pixels is taken.
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
      jobs.push_back({i, count, y, std::min(y + band, component.output.height())});
    }
  }
  m_workers.run(jobs.size(), [&](size_t i, int) {
    const StoreJob& job = jobs[i];
    const auto own = outputs.subspan(job.first, job.count);
    if (isTransformed(job.first)) {
      storeTransformed(own, job.y0, job.y1);
    } else {
      storeRows(own, job.first, job.y0, job.y1);
    }
  });
}

void TileDecoder::decode(int64_t tile, std::span<const SampleView> outputs) {
  reset();
  Budget budget = m_budget;
  TileHeader header;
  header.coding = m_stream.coding;
  const bool there = m_stream.ofTile.contains(tile);
  bool transformed = false;
  try {
    if (there) header = readTileHeader(m_stream, tile, m_report);
    checkSteps(header.coding);
    if (header.coding.transform && !transformable(m_stream.shape.components, header.coding)) {
      m_report.warn(Diag::componentsDiffer, "tile " + std::to_string(tile));
      header.coding.transform = false;
    }
    prepare(m_stream.shape.tile(tile), header.coding, budget);
    if (there) {
      readPackets(tile, header, budget);
      reconstruct(tile, header.coding);
      transformed = header.coding.transform && m_components.size() >= 3 && m_components[0].wanted &&
                    m_components[1].wanted && m_components[2].wanted;
    } else {
      m_report.warn(Diag::tileMissing, std::to_string(tile));
    }
  } catch (const Failure& failure) {
    // A tile's own header may be damaged; what is asked for or allowed holds for all tiles.
    const int number = int(failure.number);
    if (number < int(Diag::noSoc) || !there) throw;
    m_report.warn(Diag::badTile,
                  std::to_string(tile) + ": " + std::to_string(number) + " " + failure.detail);
    reset();
    header.coding = m_stream.coding;
    budget = m_budget;
    prepare(m_stream.shape.tile(tile), header.coding, budget);
  }
  store(outputs, transformed);
}

}  // namespace j2k
