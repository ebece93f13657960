// One tile from its tile-parts to samples.
#include "tiledecode.h"

#include <algorithm>
#include <atomic>

#include "packetwalk.h"

namespace j2k {

TileDecoder::TileDecoder(const Codestream& stream, const DecodePlan& plan, const Budget& budget,
                         Reporter& report)
    : m_stream(stream),
      m_plan(plan),
      m_budget(budget),
      m_report(report),
      m_workers(plan.threads),
      m_rowMemory(size_t(m_workers.count())),
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
  budget.take(m_wavelets.inverseBytes(planesOf(wanted())));
  budget.take(rowBytes() * int64_t(m_workers.count()));
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

/// Before the block is decoded: another one of the same page, by another thread, is not written
/// before it is decoded, and then the page is there.
void TileDecoder::takePagesFor(const BlockJob& job) const {
  const int64_t y0 = std::max<int64_t>(0, job.y);
  const int64_t y1 = std::min<int64_t>(job.plane.height, job.y + job.rect.height());
  m_components[job.component].planes->takePages(job.plane.part(0, y0, job.plane.width, y1 - y0));
}

/// Jobs of what is transformed in place, or of the level above, component after component.
void TileDecoder::addJobs(const Coding& coding, bool inPlace) {
  for (const size_t c : wanted()) {
    const Component& component = m_components[c];
    const int split = component.planes->topInPlace();
    const int first = inPlace ? 0 : split + 1, last = inPlace ? split : component.top;
    for (int r = first; r <= last; ++r) {
      for (const auto& precinct : component.precincts[size_t(r)]) {
        if (precinct) addJobs(int(c), m_geometry[c].resolutions[size_t(r)], *precinct, coding);
      }
    }
  }
}

/// Blocks to coefficients, and these to samples but for a level that is made row by row. One thread
/// transforms a component as soon as the last block below that level is decoded, while the others
/// go on: no thread waits for another's wavelet.
void TileDecoder::reconstruct(int64_t tile, const Coding& coding) {
  addJobs(coding, true);
  const size_t inPlace = m_jobs.size();
  addJobs(coding, false);
  std::vector<std::atomic<int>> left(m_components.size());
  for (size_t i = 0; i < inPlace; ++i) ++left[m_jobs[i].component];
  std::atomic<int> damaged{0};
  const bool alone = m_workers.count() == 1;
  m_workers.run(m_jobs.size(), [&](size_t i, int worker) {
    const BlockJob& job = m_jobs[i];
    const CoefficientPlanes& planes = *m_components[job.component].planes;
    if (!alone) takePagesFor(job);
    if (!m_decoders[size_t(worker)]->decode(*job.block, m_chunks, job.coding, job.rect, job.plane,
                                            job.x, job.y)) {
      ++damaged;
    }
    if (i < inPlace && --left[job.component] == 0) {
      if (!alone) planes.takePages();
      m_wavelets.inverse(planes);
    }
  });
  if (damaged > 0) {
    m_report.warn(Diag::blockDamaged, std::to_string(damaged) + " in tile " + std::to_string(tile));
  }
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
