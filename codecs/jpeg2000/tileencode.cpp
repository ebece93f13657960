// One tile from samples to coded blocks.
#include "tileencode.h"

#include <algorithm>

#include "samples.h"

namespace j2k {

EncodeWorkers::EncodeWorkers(int threads)
    : team(threads), arenas(size_t(team.count())), wavelets(team) {
  for (int t = 0; t < team.count(); ++t) blocks.push_back(std::make_unique<BlockEncoder>());
}

void EncodeWorkers::countCoded(Budget& budget) {
  int64_t bytes = 0;
  for (const Arena& arena : arenas) bytes += arena.size();
  budget.take(bytes - codedBytes);
  codedBytes = bytes;
}

TileEncoder::TileEncoder(const EncodePlan& plan, int64_t tile)
    : m_plan(plan), m_rect(plan.shape.tile(tile)) {
  for (size_t c = 0; c < plan.shape.components.size(); ++c) {
    m_geometry.emplace_back(m_rect, plan.shape.components[c], plan.coding.components[c].partition);
  }
}

namespace {

/// Coefficients of a band that a rectangle of samples depends on, or that depend on it.
Rect roiInBand(Rect rect, int levels, int resolution, int orientation) {
  constexpr int reach = 3;
  const int level = resolution == 0 ? levels : levels - resolution + 1;
  for (int l = 0; l < level; ++l) {
    const Rect wide = {rect.x0 - reach, rect.y0 - reach, rect.x1 + reach, rect.y1 + reach};
    rect = bandOf(wide, l + 1 == level ? orientation : 0);
  }
  return rect;
}

}  // namespace

void TileEncoder::layOutBand(size_t component, const Resolution& resolution, int band,
                             int64_t precinct, const BandCoding& coding, double weight,
                             PrecinctOutput::PerBand& out) {
  out.grid = resolution.blocks(band, precinct);
  out.inclusion = TagTree(out.grid.wide, out.grid.high);
  out.zeroPlanes = TagTree(out.grid.wide, out.grid.high);
  out.firstBlock = m_jobs.size();
  const size_t count = size_t(out.grid.wide) * size_t(out.grid.high);
  out.blocks.resize(count);
  const Rect& own = resolution.bands[size_t(band)].rect;
  const PlaneView plane = m_planes[component]->band(resolution.index, coding.orientation);
  Rect roi;
  if (coding.roiShift > 0) {
    const ComponentShape& shape = m_plan.shape.components[component];
    const int levels = int(m_geometry[component].resolutions.size()) - 1;
    roi = roiInBand(dividedBy(m_plan.roi, shape.dx, shape.dy), levels, resolution.index,
                    coding.orientation);
  }
  for (size_t i = 0; i < count; ++i) {
    const Rect rect = out.grid.block(int(i) % out.grid.wide, int(i) / out.grid.wide);
    EncodeJob job;
    job.plane = plane.part(rect.x0 - own.x0, rect.y0 - own.y0, rect.width(), rect.height());
    job.coding = &coding;
    job.weight = weight;
    const Rect inside = intersection(rect, roi);
    if (!inside.empty()) {
      job.roi = {inside.x0 - rect.x0, inside.y0 - rect.y0, inside.x1 - rect.x0,
                 inside.y1 - rect.y0};
    }
    m_jobs.push_back(job);
  }
}

void TileEncoder::makePlanes(size_t component, Budget& budget) {
  const bool transformed = m_plan.coding.transform && component < 3;
  const Arithmetic arithmetic =
      arithmeticFor(m_plan.coding.components[component].reversible,
                    m_plan.shape.components[component].precision, transformed);
  std::vector<Rect> windows;
  for (const Resolution& r : m_geometry[component].resolutions) windows.push_back(r.rect);
  const int64_t bytes = CoefficientPlanes::bytes(arithmetic, windows);
  budget.take(bytes);
  m_planeBytes += bytes;
  m_planes.push_back(std::make_unique<CoefficientPlanes>(arithmetic, std::move(windows)));
}

void TileEncoder::layOutResolution(size_t component, const Resolution& resolution,
                                   TilePackets::Lane& lane, Budget& budget) {
  const Coding& all = m_plan.coding;
  const ComponentCoding& own = all.components[component];
  const Quantization& quantization = all.quantization[component];
  lane.style = own.style;
  // Rate control has copies of what packet headers need, one for each thread.
  const int64_t copies = 2 + m_plan.threads;
  budget.take(copies * int64_t(sizeof(PrecinctOutput)) * resolution.precincts());
  lane.precincts.resize(size_t(resolution.precincts()));
  for (int b = 0; b < resolution.bandCount; ++b) {
    const Band& band = resolution.bands[size_t(b)];
    auto coding = std::make_unique<BandCoding>();
    coding->orientation = band.orientation;
    coding->style = own.style;
    coding->roiShift = all.roiShift[component];
    coding->planes = quantization.planes(band.index) + coding->roiShift;
    coding->reversible = own.reversible;
    const int gain = (band.orientation & 1) + (band.orientation >> 1);
    const int precision = m_plan.shape.components[component].precision;
    const double step = own.reversible ? 1 : quantization.step(band.index, precision, gain);
    coding->step = float(step);
    const double colour =
        all.transform && component < 3 ? colourNorm(own.reversible, int(component)) : 1;
    const double norm = bandNorm(own.reversible, band.level, band.orientation) * colour * step;
    for (int64_t p = 0; p < resolution.precincts(); ++p) {
      PrecinctOutput& precinct = lane.precincts[size_t(p)];
      precinct.bandCount = resolution.bandCount;
      const BlockGrid grid = resolution.blocks(b, p);
      const int64_t blocks = int64_t(grid.wide) * grid.high;
      constexpr int64_t aNode = 16;
      budget.take(blocks * int64_t(sizeof(EncodeJob) + sizeof(CodedBlock)) + blocks * all.layers +
                  copies * (blocks * int64_t(sizeof(PrecinctOutput::Written)) +
                            2 * aNode * TagTree::nodes(grid.wide, grid.high)));
      layOutBand(component, resolution, b, p, *coding, norm * norm, precinct.bands[size_t(b)]);
    }
    m_codings.push_back(std::move(coding));
  }
}

void TileEncoder::layOut(TilePackets& packets, Budget& budget) {
  packets.lanes.resize(m_geometry.size());
  for (size_t c = 0; c < m_geometry.size(); ++c) {
    makePlanes(c, budget);
    for (const Resolution& r : m_geometry[c].resolutions) {
      layOutResolution(c, r, packets.lanes[c].emplace_back(), budget);
    }
  }
  packets.blocks.resize(m_jobs.size());
}

/// Whether three components can be loaded as the pixels that they are.
bool TileEncoder::loadsPixels(std::span<const SampleView> samples) const {
  if (samples.size() != 3 || !arePixels(samples)) return false;
  const std::vector<ComponentShape>& shapes = m_plan.shape.components;
  for (size_t c = 1; c < 3; ++c) {
    if (shapes[c].precision != shapes[0].precision || shapes[c].isSigned != shapes[0].isSigned ||
        m_planes[c]->arithmetic() != m_planes[0]->arithmetic() || shapes[c].dx != shapes[0].dx ||
        shapes[c].dy != shapes[0].dy) {
      return false;
    }
  }
  return true;
}

void TileEncoder::load(std::span<const SampleView> samples, size_t first, int64_t y0, int64_t y1) {
  SampleView views[3];
  PlaneView planes[3];
  for (size_t i = 0; i < samples.size(); ++i) {
    const Rect whole = m_plan.shape.component(int(first + i));
    const Rect& own = m_geometry[first + i].rect;
    views[i] = moved(samples[i], own.x0 - whole.x0, own.y0 - whole.y0 + y0);
    planes[i] = m_planes[first + i]->samples().part(0, y0, own.width(), y1 - y0);
  }
  const ComponentShape& shape = m_plan.shape.components[first];
  loadSamples({{views, samples.size()}, {planes, samples.size()}, shape.precision, shape.isSigned});
}

/// A few rows of components at a time, so that the colour transform finds them in the cache.
/// @param count  of components: one, or three that are pixels or transformed
void TileEncoder::loadRows(std::span<const SampleView> samples, size_t first, size_t count,
                           int64_t y0, int64_t y1) {
  constexpr int64_t most = 32768;
  const bool transformed = m_plan.coding.transform && first == 0;
  const size_t together = count == 3 && loadsPixels(samples) ? 3 : 1;
  const int64_t width = std::max<int64_t>(1, m_geometry[first].rect.width());
  const int64_t rows = std::max<int64_t>(1, most / width);
  for (int64_t y = y0; y < y1; y += rows) {
    const int64_t end = std::min(y + rows, y1);
    for (size_t c = first; c < first + count; c += together) {
      load(samples.subspan(c, together), c, y, end);
    }
    if (!transformed) continue;
    PlaneView planes[3];
    for (size_t c = 0; c < 3; ++c) {
      const PlaneView& all = m_planes[c]->samples();
      planes[c] = all.part(0, y, all.width, end - y);
    }
    forwardColour(planes);
  }
}

void TileEncoder::transform(std::span<const SampleView> samples, EncodeWorkers& workers,
                            Budget& budget) {
  std::vector<const CoefficientPlanes*> planes;
  for (const auto& p : m_planes) planes.push_back(p.get());
  takePages(planes, workers.team);
  constexpr int64_t band = 64;
  const bool pixels = loadsPixels(samples);
  for (size_t c = 0, count = 1; c < samples.size(); c += count) {
    count = pixels || (m_plan.coding.transform && c == 0) ? 3 : 1;
    const int64_t height = m_geometry[c].rect.height();
    workers.team.run(ceilDiv(height, band), [&](int64_t i, int) {
      const int64_t y = i * band;
      loadRows(samples, c, count, y, std::min(y + band, height));
    });
  }
  const int64_t bytes = workers.wavelets.seamBytes(planes) + workers.wavelets.workBytes(planes);
  if (bytes > workers.waveletBytes) {
    budget.take(bytes - workers.waveletBytes);
    workers.waveletBytes = bytes;
  }
  workers.wavelets.forward(planes);
}

void setZeroPlanes(const std::vector<EncodeJob>& jobs, TilePackets& packets, int extraGuardBits) {
  for (auto& component : packets.lanes) {
    for (TilePackets::Lane& lane : component) {
      for (PrecinctOutput& precinct : lane.precincts) {
        for (int b = 0; b < precinct.bandCount; ++b) {
          PrecinctOutput::PerBand& band = precinct.bands[size_t(b)];
          for (size_t i = 0; i < band.blocks.size(); ++i) {
            const size_t index = band.firstBlock + i;
            band.zeroPlanes.setValue(
                int(i), jobs[index].coding->planes + extraGuardBits - packets.blocks[index].planes);
          }
        }
      }
    }
  }
}

}  // namespace j2k
