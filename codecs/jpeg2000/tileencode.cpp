#include "tileencode.h"

#include <algorithm>

#include "parallel.h"

namespace j2k {

EncodeWorkers::EncodeWorkers(int threads) : arenas(size_t(threads)), work(size_t(threads)) {
  for (int t = 0; t < threads; ++t) blocks.push_back(std::make_unique<BlockEncoder>());
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

void TileEncoder::layOutBand(int component, const Resolution& resolution, int band,
                             int64_t precinct, const BandCoding& coding, double weight,
                             PrecinctOutput::PerBand& out) {
  out.grid = resolution.blocks(band, precinct);
  out.inclusion = TagTree(out.grid.wide, out.grid.high);
  out.zeroPlanes = TagTree(out.grid.wide, out.grid.high);
  out.firstBlock = m_jobs.size();
  const size_t count = size_t(out.grid.wide) * size_t(out.grid.high);
  out.blocks.resize(count);
  const Rect& own = resolution.bands[size_t(band)].rect;
  const PlaneView plane = m_planes[size_t(component)]->band(resolution.index, coding.orientation);
  Rect roi;
  if (coding.roiShift > 0) {
    const ComponentShape& shape = m_plan.shape.components[size_t(component)];
    const int levels = int(m_geometry[size_t(component)].resolutions.size()) - 1;
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

void TileEncoder::layOut(TilePackets& packets) {
  const Coding& coding = m_plan.coding;
  packets.lanes.resize(m_geometry.size());
  for (size_t c = 0; c < m_geometry.size(); ++c) {
    const TileComponent& geometry = m_geometry[c];
    const ComponentCoding& own = coding.components[c];
    const int precision = m_plan.shape.components[c].precision;
    std::vector<Rect> windows;
    for (const Resolution& r : geometry.resolutions) windows.push_back(r.rect);
    const bool transformed = coding.transform && c < 3;
    m_planes.push_back(std::make_unique<CoefficientPlanes>(
        arithmeticFor(own.reversible, precision, transformed), windows));
    for (const Resolution& r : geometry.resolutions) {
      TilePackets::Lane lane;
      lane.style = own.style;
      lane.precincts.resize(size_t(r.precincts()));
      for (int b = 0; b < r.bandCount; ++b) {
        const Band& band = r.bands[size_t(b)];
        auto bandCoding = std::make_unique<BandCoding>();
        bandCoding->orientation = band.orientation;
        bandCoding->style = own.style;
        bandCoding->roiShift = coding.roiShift[c];
        bandCoding->planes = coding.quantization[c].planes(band.index) + bandCoding->roiShift;
        bandCoding->reversible = own.reversible;
        const int gain = (band.orientation & 1) + (band.orientation >> 1);
        const double step =
            own.reversible ? 1 : coding.quantization[c].step(band.index, precision, gain);
        bandCoding->step = float(step);
        const double norm = bandNorm(own.reversible, band.level, band.orientation) *
                            (transformed ? colourNorm(own.reversible, int(c)) : 1) * step;
        for (int64_t p = 0; p < r.precincts(); ++p) {
          PrecinctOutput& precinct = lane.precincts[size_t(p)];
          precinct.bandCount = r.bandCount;
          layOutBand(int(c), r, b, p, *bandCoding, norm * norm, precinct.bands[size_t(b)]);
        }
        m_codings.push_back(std::move(bandCoding));
      }
      packets.lanes[c].push_back(std::move(lane));
    }
  }
  packets.blocks.resize(m_jobs.size());
}

void TileEncoder::transform(std::span<const SampleView> samples, EncodeWorkers& workers) {
  const int threads = m_plan.threads;
  forEachInParallel(threads, samples.size(), [&](size_t c, int) {
    const PlaneView plane = m_planes[c]->samples();
    if (plane.width == 0 || plane.height == 0) return;
    const ComponentShape& shape = m_plan.shape.components[c];
    const Rect whole = m_plan.shape.component(int(c)), &own = m_geometry[c].rect;
    SampleView view = samples[c];
    const ptrdiff_t size = view.type == SampleType::u8 ? 1 : view.type == SampleType::u16 ? 2 : 4;
    view.data = static_cast<std::byte*>(view.data) + (own.x0 - whole.x0) * view.pixelStep * size +
                (own.y0 - whole.y0) * view.rowStep;
    loadSamples(view, shape.precision, shape.isSigned, plane);
  });
  if (m_plan.coding.transform) {
    const PlaneView views[3] = {m_planes[0]->samples(), m_planes[1]->samples(),
                                m_planes[2]->samples()};
    forwardColour(views);
  }
  forEachInParallel(threads, m_planes.size(), [&](size_t c, int worker) {
    m_planes[c]->forward(workers.work[size_t(worker)]);
  });
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
