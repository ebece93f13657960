// The decoder: headers, the plan of what is wanted, tile after tile.
#include <algorithm>
#include <atomic>
#include <new>
#include <optional>

#include "boxes.h"
#include "codestream.h"
#include "diag.h"
#include "listing.h"
#include "tiledecode.h"

namespace j2k {

struct Decoder::Parts {
  Parts(Diagnostics& out, bool strict) : report(out, strict) {}

  Reporter report;
  BoxInfo boxes;
  Codestream stream;
  DecodePlan plan;
};

Decoder::Decoder(const Options& options, Diagnostics& diagnostics)
    : m_options(options),
      m_diagnostics(diagnostics),
      m_parts(std::make_unique<Parts>(diagnostics, options.strict)) {}

Decoder::~Decoder() = default;

const ColourBoxes& Decoder::colours() const { return m_parts->boxes.colours; }

namespace {

void checkBoxes(const BoxInfo& boxes, const ImageShape& shape, Reporter& report) {
  if (!boxes.hasHeader) return;
  const int components = int(shape.components.size());
  if (boxes.components != components || boxes.width != shape.image.width() ||
      boxes.height != shape.image.height()) {
    report.warn(Diag::boxContradicts, "ihdr");
  }
  if (boxes.depth == 255 && int(boxes.depths.size()) != components) {
    report.warn(Diag::boxContradicts, "bpcc");
  }
}

/// What a header announces must not cost more than what is there.
void checkWork(const Codestream& stream, size_t bytes) {
  const int64_t work = int64_t(stream.ofTile.size()) * int64_t(stream.shape.components.size());
  constexpr int64_t base = 4'000'000;
  if (work > base + 64 * int64_t(bytes)) {
    fail(Diag::tooMuchWork, std::to_string(work) + " tile-components");
  }
}

}  // namespace

void Decoder::makePlan() {
  const ImageShape& shape = m_parts->stream.shape;
  DecodePlan& plan = m_parts->plan;
  plan.window = shape.image;
  if (!m_options.crop.empty()) {
    const Window& w = m_options.crop;
    const int64_t x = shape.image.x0 + w.x, y = shape.image.y0 + w.y;
    plan.window = intersection({x, y, x + w.width, y + w.height}, shape.image);
    if (plan.window.empty()) fail(Diag::badCrop);
  }
  plan.reduce = m_options.reduce;
  if (plan.reduce < 0 || plan.reduce > maxLevels) fail(Diag::reduceTooFar);
  if (m_options.maxLayers > 0) plan.maxLayers = m_options.maxLayers;
  plan.threads = std::max(1, m_options.threads);
  const int count = int(shape.components.size());
  if (m_options.component >= count) {
    fail(Diag::noSuchComponent, std::to_string(m_options.component));
  }
  for (int c = 0; c < count; ++c) {
    if (m_options.component < 0 || c == m_options.component) plan.components.push_back(c);
  }
}

void Decoder::describe() {
  const Codestream& stream = m_parts->stream;
  const DecodePlan& plan = m_parts->plan;
  const BoxInfo& boxes = m_parts->boxes;
  const Rect all = shifted(plan.window, plan.reduce);
  int64_t samples = 0;
  for (const int index : plan.components) {
    const ComponentShape& shape = stream.shape.components[size_t(index)];
    const Rect rect = plan.output(stream.shape, index);
    if (rect.width() > INT32_MAX || rect.height() > INT32_MAX) {
      fail(Diag::memoryLimit, "component of " + std::to_string(rect.width()) + " x " +
                                  std::to_string(rect.height()) + " samples");
    }
    m_info.components.push_back({int(rect.width()), int(rect.height()), shape.precision,
                                 shape.isSigned, shape.dx, shape.dy});
    // Both are below 2^31; the sum stays below the limit.
    samples += rect.width() * rect.height() *
               (shape.precision <= 8    ? 1
                : shape.precision <= 16 ? 2
                                        : 4);
    if (samples > m_options.memoryMiB << 20) {
      fail(Diag::memoryLimit, "samples of " + std::to_string(samples >> 20) + " MiB");
    }
  }
  m_info.width = int(all.width());
  m_info.height = int(all.height());
  m_info.originX = all.x0;
  m_info.originY = all.y0;
  m_info.colour = boxes.colour;
  m_info.enumeratedColour = boxes.enumerated;
  m_info.profile = boxes.profile;
  m_info.resolutionY = boxes.captureResolution[0];
  m_info.resolutionX = boxes.captureResolution[1];
  for (const ByteSpan& xml : boxes.xml) m_info.xml.emplace_back(xml.begin(), xml.end());
  for (const ByteSpan& uuid : boxes.uuids) m_info.uuids.emplace_back(uuid.begin(), uuid.end());
}

void Decoder::readHeaders(std::span<const uint8_t> file) {
  Parts& parts = *m_parts;
  parts.boxes = readBoxes(file, parts.report);
  parts.stream = readMainHeader(parts.boxes.codestream, parts.report);
  const ImageShape& shape = parts.stream.shape;
  checkBoxes(parts.boxes, shape, parts.report);
  makePlan();
  findTileParts(parts.stream, parts.boxes.codestream,
                shape.tilesOf(m_options.listing ? shape.image : parts.plan.window), parts.report);
  checkWork(parts.stream, file.size());
  if (m_options.listing) {
    listStructure(parts.boxes, parts.stream, m_diagnostics);
    listPackets(parts.boxes, parts.stream, m_options.memoryMiB << 20, m_diagnostics);
  }
  describe();
}

Status Decoder::open(std::span<const uint8_t> file) {
  return guarded(m_parts->report, [&] { readHeaders(file); });
}

namespace {

/// Numbers of tiles that a part of the picture touches.
std::vector<int64_t> tilesIn(const ImageShape& shape, const Rect& window) {
  const Rect tiles = shape.tilesOf(window);
  std::vector<int64_t> list;
  list.reserve(size_t(tiles.width() * tiles.height()));
  for (int64_t y = tiles.y0; y < tiles.y1; ++y) {
    for (int64_t x = tiles.x0; x < tiles.x1; ++x) list.push_back(y * shape.tilesWide() + x);
  }
  return list;
}

/// What became of a tile that one thread has decoded.
struct Outcome {
  std::vector<Warning> warnings;
  std::optional<Failure> failure;
  bool lackedMemory = false;  ///< of the share that a thread has
};

/// Tiles that threads share: each decodes whole ones.
class SharedTiles {
 public:
  SharedTiles(const Codestream& stream, const DecodePlan& plan, const Budget& budget, bool strict)
      : m_plan(plan), m_workers(plan.threads) {
    const Budget share(budget.left() / m_workers.count());
    m_plan.threads = 1;
    for (int t = 0; t < m_workers.count(); ++t) {
      m_hands.push_back(std::make_unique<Hand>(stream, m_plan, share, strict));
    }
  }

  /// Behind a tile that fails no other is begun; all before it are decoded.
  std::vector<Outcome> decode(std::span<const int64_t> tiles, std::span<const SampleView> samples) {
    std::vector<Outcome> outcomes(tiles.size());
    std::atomic<size_t> failed = tiles.size();
    m_workers.run(tiles.size(), [&](size_t i, int worker) {
      if (i > failed) return;
      outcomes[i] = m_hands[size_t(worker)]->decode(tiles[i], samples);
      if (!outcomes[i].failure) return;
      size_t first = failed;
      while (i < first && !failed.compare_exchange_weak(first, i)) {
      }
    });
    return outcomes;
  }

 private:
  struct Hand {
    Hand(const Codestream& stream, const DecodePlan& plan, const Budget& budget, bool strict)
        : report(strict), decoder(stream, plan, budget, report) {}

    Outcome decode(int64_t tile, std::span<const SampleView> samples) {
      Outcome outcome;
      try {
        decoder.decode(tile, samples);
      } catch (const Failure& failure) {
        outcome.lackedMemory = failure.number == Diag::memoryLimit;
        if (!outcome.lackedMemory) outcome.failure = failure;
      } catch (const std::bad_alloc&) {
        outcome.lackedMemory = true;
      }
      outcome.warnings = report.takeKept();
      return outcome;
    }

    Reporter report;
    TileDecoder decoder;
  };

  DecodePlan m_plan;
  codecs::Workers m_workers;
  std::vector<std::unique_ptr<Hand>> m_hands;
};

/// Decodes all tiles. What is told comes in their order, whoever has decoded them.
void decodeTiles(const Codestream& stream, const DecodePlan& plan, const Budget& budget,
                 std::span<const SampleView> samples, bool strict, Reporter& report) {
  const std::vector<int64_t> tiles = tilesIn(stream.shape, plan.window);
  const bool shared = sharesTiles(stream.shape, tiles.size(), plan.threads, budget.left());
  // Enough for threads to wait little at the end, and no more warnings at a time than there is
  // memory for.
  const size_t batch = 128 * size_t(plan.threads);
  std::vector<Outcome> outcomes;
  std::optional<TileDecoder> together;
  for (size_t i = 0; i < tiles.size(); ++i) {
    if (shared && i % batch == 0) {
      together.reset();
      const auto some = std::span(tiles).subspan(i, std::min(batch, tiles.size() - i));
      outcomes = SharedTiles(stream, plan, budget, strict).decode(some, samples);
    }
    if (!shared || outcomes[i % batch].lackedMemory) {
      // One after the other has all of the memory.
      if (!together) together.emplace(stream, plan, budget, report);
      together->decode(tiles[i], samples);
      continue;
    }
    const Outcome& outcome = outcomes[i % batch];
    report.warnOf(outcome.warnings);
    if (outcome.failure) throw Failure(*outcome.failure);
  }
}

}  // namespace

Status Decoder::decode(std::span<const SampleView> samples) {
  return guarded(m_parts->report, [&] {
    const Parts& parts = *m_parts;
    int64_t output = 0;
    for (const ComponentInfo& c : m_info.components) {
      output += int64_t(c.width) * c.height * (c.precision <= 8 ? 1 : c.precision <= 16 ? 2 : 4);
    }
    const Budget budget((m_options.memoryMiB << 20) - output);
    decodeTiles(parts.stream, parts.plan, budget, samples, m_options.strict, m_parts->report);
  });
}

}  // namespace j2k
