// The encoder: transform, code blocks, choose layers, write.
#include <algorithm>
#include <functional>
#include <new>

#include "boxes.h"
#include "depth.h"
#include "diag.h"
#include "encodeplan.h"
#include "streamwrite.h"
#include "tileencode.h"

namespace j2k {
namespace {

class PictureEncoder {
 public:
  PictureEncoder(const Options& options, const PictureInfo& info,
                 std::span<const SampleView> samples)
      : m_options(options),
        m_info(info),
        m_samples(samples),
        m_plan(makeEncodePlan(options, info)),
        m_workers(m_plan.threads),
        m_budget(m_plan.memory),
        m_tiles(size_t(m_plan.shape.tiles())),
        m_encoders(m_tiles.size()) {}

  void encode(std::vector<uint8_t>& file);

 private:
  struct JobIndex {
    uint32_t tile, job;
  };

  bool codesAsNeeded() const;
  void transformAndCode();
  void makeTile(size_t tile, bool cut, EncodeWorkers& workers);
  void codeAsNeeded(const std::vector<JobIndex>& all, double bytes);
  const EncodeJob& jobAt(JobIndex at) const { return m_encoders[at.tile]->jobs()[at.job]; }
  const CodedBlock& blockAt(JobIndex at) const { return m_tiles[at.tile].blocks[at.job]; }
  void codeTo(const std::vector<JobIndex>& all, const std::vector<size_t>& which,
              const ThresholdModel& model, double threshold);
  /// How deep to code a job of those that are given, of so many planes.
  using DepthOf = std::function<Depth(size_t, int)>;
  void code(const std::vector<JobIndex>& jobs, const DepthOf& depth, EncodeWorkers& workers);
  void addGuardBits();
  int64_t chooseLayers(int64_t boxes);

  const Options& m_options;
  const PictureInfo& m_info;
  std::span<const SampleView> m_samples;
  EncodePlan m_plan;
  EncodeWorkers m_workers;
  std::vector<std::unique_ptr<EncodeWorkers>> m_alone;  ///< of one thread each, for whole tiles
  Budget m_budget;
  std::vector<TilePackets> m_tiles;
  std::vector<std::unique_ptr<TileEncoder>> m_encoders;
};

/// Codes these blocks, each so deep.
void PictureEncoder::code(const std::vector<JobIndex>& jobs, const DepthOf& depth,
                          EncodeWorkers& workers) {
  workers.team.run(jobs.size(), [&](size_t i, int worker) {
    const EncodeJob& job = jobAt(jobs[i]);
    BlockEncoder& encoder = *workers.blocks[size_t(worker)];
    encoder.load(job.plane, *job.coding, job.roi);
    m_tiles[jobs[i].tile].blocks[jobs[i].job] = encoder.encode(
        *job.coding, job.weight, depth(i, encoder.planes()), workers.arenas[size_t(worker)]);
  });
  workers.countCoded(m_budget);
}

/// Whether blocks are coded about as far as they are going to be cut, when all of them are known.
bool PictureEncoder::codesAsNeeded() const {
  const Partition& partition = m_plan.coding.components[0].partition;
  const int64_t samples = m_plan.shape.image.width() * m_plan.shape.image.height() *
                          int64_t(m_plan.shape.components.size());
  // A sample of few blocks would not tell much.
  constexpr int64_t enough = 256;
  return m_plan.goals.back().kind == LayerGoal::bytes && m_plan.roi.empty() &&
         samples >> (partition.blockWidth + partition.blockHeight) >= enough;
}

/// A tile to coefficients and, unless these are cut later, on to coded blocks.
void PictureEncoder::makeTile(size_t tile, bool cut, EncodeWorkers& workers) {
  m_encoders[tile] = std::make_unique<TileEncoder>(m_plan, int64_t(tile));
  TileEncoder& encoder = *m_encoders[tile];
  encoder.layOut(m_tiles[tile], m_budget);
  encoder.transform(m_samples, workers, m_budget);
  if (cut) return;
  std::vector<JobIndex> jobs;
  for (size_t j = 0; j < encoder.jobs().size(); ++j) jobs.push_back({uint32_t(tile), uint32_t(j)});
  const DepthOf whole = [](size_t, int) { return Depth{rkdCodeBlockMaxPasses, 0, 0}; };
  code(jobs, whole, workers);
  encoder.release(m_budget);
}

void PictureEncoder::transformAndCode() {
  const bool cut = codesAsNeeded();
  // Tiles that are cut later are all in memory anyway.
  if (sharesTiles(m_plan.shape, m_tiles.size(), m_plan.threads,
                  cut ? INT64_MAX : m_budget.left())) {
    for (int t = 0; t < m_workers.team.count(); ++t) {
      m_alone.push_back(std::make_unique<EncodeWorkers>(1));
    }
    m_workers.team.run(m_tiles.size(),
                       [&](size_t t, int worker) { makeTile(t, cut, *m_alone[size_t(worker)]); });
  } else {
    for (size_t t = 0; t < m_tiles.size(); ++t) makeTile(t, cut, m_workers);
  }
  if (!cut) return;
  std::vector<JobIndex> all;
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    for (size_t j = 0; j < m_encoders[t]->jobs().size(); ++j) {
      all.push_back({uint32_t(t), uint32_t(j)});
    }
  }
  codeAsNeeded(all, m_plan.goals.back().value);
  for (const auto& encoder : m_encoders) encoder->release(m_budget);
}

/// Codes blocks about as far as they are going to be cut: a few of them first, to know where.
void PictureEncoder::codeAsNeeded(const std::vector<JobIndex>& all, double bytes) {
  std::vector<BlockStatistics> statistics(all.size());
  m_workers.team.run(all.size(), [&](size_t i, int) {
    const EncodeJob& job = jobAt(all[i]);
    statistics[i] = statisticsOf(job.plane, *job.coding, job.weight);
  });
  const ThresholdModel model(statistics);
  constexpr size_t every = 9;
  std::vector<size_t> sample, others;
  for (size_t i = 0; i < all.size(); ++i) (i % every == 4 ? sample : others).push_back(i);
  constexpr double surelyBelow = 0.3, below = 0.9;
  const double guess = surelyBelow * model.guess(bytes);
  codeTo(all, sample, model, guess);
  std::vector<const CodedBlock*> blocks;
  blocks.reserve(all.size());
  for (const size_t i : sample) blocks.push_back(&blockAt(all[i]));
  const double threshold = below * model.corrected(bytes, sample, blocks);
  codeTo(all, others, model, threshold);

  // Either may turn out to be too high.
  blocks.clear();
  for (const JobIndex at : all) blocks.push_back(&blockAt(at));
  constexpr int turns = 3;
  double reached = std::max(guess, threshold);
  for (int turn = 0; turn < turns; ++turn) {
    const double now = measuredThreshold(blocks, bytes);
    if (now >= reached) return;
    std::vector<size_t> again;
    for (size_t i = 0; i < all.size(); ++i) {
      if (endsTooEarly(*blocks[i], statistics[i].weight, now)) again.push_back(i);
    }
    reached = below * now;
    codeTo(all, again, model, reached);
  }
}

/// Codes some of the blocks to a threshold.
void PictureEncoder::codeTo(const std::vector<JobIndex>& all, const std::vector<size_t>& which,
                            const ThresholdModel& model, double threshold) {
  std::vector<JobIndex> jobs;
  jobs.reserve(which.size());
  for (const size_t i : which) jobs.push_back(all[i]);
  const DepthOf depth = [&](size_t i, int planes) {
    return model.depth(which[i], planes, threshold);
  };
  code(jobs, depth, m_workers);
}

/// The largest coefficients may need more bits than the usual guard.
void PictureEncoder::addGuardBits() {
  int extra = 0;
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    for (size_t j = 0; j < m_tiles[t].blocks.size(); ++j) {
      extra = std::max(extra, m_tiles[t].blocks[j].planes - m_encoders[t]->coding(j).planes);
    }
  }
  for (Quantization& q : m_plan.coding.quantization) q.guardBits += extra;
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    setZeroPlanes(m_encoders[t]->jobs(), m_tiles[t], extra);
  }
}

/// @return bytes that the file has at most
int64_t PictureEncoder::chooseLayers(int64_t boxes) {
  LayerCosts costs = fixedCosts(m_options, m_plan, m_encoders);
  costs.fixed += boxes;
  RateControl rate(m_tiles, costs, m_workers.team);
  for (size_t l = 0; l < m_plan.goals.size(); ++l) {
    if (!rate.choose(int(l), m_plan.goals[l]) && l + 1 == m_plan.goals.size()) {
      fail(Diag::targetTooSmall);
    }
  }
  return costs.fixed + rate.bytes();
}

void PictureEncoder::encode(std::vector<uint8_t>& file) {
  transformAndCode();
  addGuardBits();
  file.clear();
  if (!m_options.rawStream) writeBoxes(file, m_info, 0);
  const int64_t bytes = chooseLayers(int64_t(file.size()));
  // Packets of one tile are put together apart.
  m_budget.take(bytes + bytes / int64_t(m_tiles.size()));
  file = {};
  file.reserve(size_t(bytes) + 64);
  if (!m_options.rawStream) writeBoxes(file, m_info, uint64_t(bytes));
  const size_t stream = file.size();
  writeCodestream(m_options, m_plan, m_tiles, m_encoders, file);
  if (!m_options.rawStream) finishBoxes(file, stream);
}

}  // namespace

Status encodePicture(const Options& options, Diagnostics& diagnostics, const PictureInfo& info,
                     std::span<const SampleView> samples, std::vector<uint8_t>& file) {
  Reporter report(diagnostics, options.strict);
  return guarded(report, [&] { PictureEncoder(options, info, samples).encode(file); });
}

}  // namespace j2k
