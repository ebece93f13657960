#pragma once
/// @file
/// One tile from samples to coded blocks.

#include <memory>
#include <span>
#include <vector>

#include "budget.h"
#include "codeblock.h"
#include "encodeplan.h"
#include "rate.h"
#include "transform.h"
#include "wavelet.h"

namespace j2k {

/// What the threads of an encoder work with.
struct EncodeWorkers {
  explicit EncodeWorkers(int threads);

  codecs::Workers team;
  std::vector<std::unique_ptr<BlockEncoder>> blocks;
  std::vector<Arena> arenas;
  Wavelets wavelets;
  int64_t waveletBytes = 0;  ///< that the budget knows of
  int64_t codedBytes = 0;    ///< the same of the arenas

  /// Tells the budget of what the arenas have grown by.
  void countCoded(Budget& budget);
};

/// A block to be coded, and where it goes.
struct EncodeJob {
  PlaneView plane;  ///< its coefficients
  const BandCoding* coding;
  double weight;  ///< of a squared error of one step
  Rect roi;       ///< in its own coordinates
};

class TileEncoder {
 public:
  TileEncoder(const EncodePlan& plan, int64_t tile);

  /// Lays out planes, precincts and blocks.
  void layOut(TilePackets& packets, Budget& budget);
  /// Samples to coefficients.
  void transform(std::span<const SampleView> samples, EncodeWorkers& workers, Budget& budget);
  const std::vector<EncodeJob>& jobs() const { return m_jobs; }
  void release(Budget& budget) {
    m_planes.clear();
    budget.giveBack(m_planeBytes);
    m_planeBytes = 0;
  }

  const std::vector<TileComponent>& geometry() const { return m_geometry; }
  const Rect& rect() const { return m_rect; }
  /// Planes that the band of a job can have with one guard bit.
  const BandCoding& coding(size_t job) const { return *m_jobs[job].coding; }

 private:
  bool loadsPixels(std::span<const SampleView> samples) const;
  void loadRows(std::span<const SampleView> samples, size_t first, size_t count, int64_t y0,
                int64_t y1);
  void load(std::span<const SampleView> samples, size_t first, int64_t y0, int64_t y1);
  void makePlanes(size_t component, Budget& budget);
  void layOutResolution(size_t component, const Resolution& resolution, TilePackets::Lane& lane,
                        Budget& budget);
  void layOutBand(size_t component, const Resolution& resolution, int band, int64_t precinct,
                  const BandCoding& coding, double weight, PrecinctOutput::PerBand& out);

  const EncodePlan& m_plan;
  Rect m_rect;
  std::vector<TileComponent> m_geometry;
  std::vector<std::unique_ptr<CoefficientPlanes>> m_planes;
  int64_t m_planeBytes = 0;
  std::vector<std::unique_ptr<BandCoding>> m_codings;
  std::vector<EncodeJob> m_jobs;
};

/// Tells every precinct how many planes of its blocks are empty.
void setZeroPlanes(const std::vector<EncodeJob>& jobs, TilePackets& packets, int extraGuardBits);

}  // namespace j2k
