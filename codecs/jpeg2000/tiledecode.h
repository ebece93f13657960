#pragma once
/// @file
/// One tile from its tile-parts to samples.

#include <memory>
#include <span>
#include <vector>

#include "budget.h"
#include "codeblock.h"
#include "codestream.h"
#include "largepages.h"
#include "progression.h"
#include "transform.h"
#include "wavelet.h"

namespace j2k {

/// What of a picture is wanted.
struct DecodePlan {
  Rect window;  ///< on the reference grid, within the picture
  int reduce = 0;
  int maxLayers = 65535;
  std::vector<int> components;  ///< in the order of outputs
  int threads = 1;

  /// Samples of a component that the window and the reduction leave.
  Rect output(const ImageShape& shape, int component) const {
    const ComponentShape& c = shape.components[size_t(component)];
    return shifted(dividedBy(window, c.dx, c.dy), reduce);
  }
};

class TileDecoder {
 public:
  TileDecoder(const Codestream& stream, const DecodePlan& plan, const Budget& budget,
              Reporter& report);

  /// Decodes a tile into the samples that it has in the plan's window.
  void decode(int64_t tile, std::span<const SampleView> outputs);

 private:
  /// A component while its tile is decoded.
  struct Component {
    bool wanted = false;
    int top = 0;  ///< highest resolution that is decoded
    std::unique_ptr<CoefficientPlanes> planes;
    Rect output;  ///< in samples of the top resolution
    std::vector<std::vector<std::unique_ptr<PrecinctState>>> precincts;
  };
  struct BlockJob {
    const BlockState* block;
    Rect rect;
    PlaneView plane;
    int64_t x, y;
    BandCoding coding;
    size_t component;
  };

  /// Rows of some components.
  struct StoreJob {
    size_t first, count;  ///< outputs
    bool transformed;     ///< the first three components, of which the outputs are some
    int64_t y0, y1;       ///< from the top of what is wanted of the tile
  };

  void reset();
  void prepare(const Rect& tile, const Coding& coding, Budget& budget);
  bool needed(const PacketIndex& packet) const;
  PrecinctState& precinctFor(const PacketIndex& packet, Budget& budget);
  int64_t wantedPackets(const Coding& coding) const;
  void readPackets(int64_t tile, TileHeader& header, Budget& budget);
  /// @return false when the lengths that the header tells cannot be true
  bool walkPackets(int64_t tile, const TileHeader& header, Budget& budget);
  BandCoding bandCoding(const Coding& coding, int component, const Band& band) const;
  void addJobs(int component, const Resolution& resolution, const PrecinctState& precinct,
               const Coding& coding);
  void addJobs(const Coding& coding, bool inPlace);
  std::vector<size_t> wanted() const;
  std::vector<const CoefficientPlanes*> planesOf(const std::vector<size_t>& components) const;
  void takePagesFor(const BlockJob& job) const;
  void reconstruct(int64_t tile, const Coding& coding);
  bool storesPixels(std::span<const SampleView> outputs, size_t first) const;
  SampleView outputRows(const SampleView& output, int index, int64_t y0) const;
  size_t rowStepOf(std::span<const size_t> components) const;
  int64_t rowBytes() const;
  void storeGroup(std::span<const SampleView> outputs, size_t first,
                  std::span<const PlaneView> planes, int64_t y) const;
  void storeRows(const StoreJob& job, std::span<const SampleView> outputs, uint8_t* memory) const;
  int64_t storeRowsAtOnce(std::span<const SampleView> outputs, int64_t rows) const;
  void store(std::span<const SampleView> outputs, bool transformed);

  const Codestream& m_stream;
  const DecodePlan& m_plan;
  const Budget m_budget;
  Reporter& m_report;
  std::vector<TileComponent> m_geometry;  ///< of all components
  std::vector<Component> m_components;
  std::vector<Chunk> m_chunks;
  std::vector<BlockJob> m_jobs;
  std::vector<std::unique_ptr<BlockDecoder>> m_decoders;
  codecs::Workers m_workers;
  /// Of each worker: rows from their wavelet until they are stored.
  std::vector<std::vector<uint8_t, Uninitialised<uint8_t>>> m_rowMemory;
  Wavelets m_wavelets;
};

}  // namespace j2k
