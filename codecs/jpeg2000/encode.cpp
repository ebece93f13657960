// The encoder: transform, code blocks, choose layers, write.
#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

#include "boxes.h"
#include "diag.h"
#include "encodeplan.h"
#include "parallel.h"
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
        m_tiles(size_t(m_plan.shape.tiles())) {}

  void encode(std::vector<uint8_t>& file);

 private:
  struct JobIndex {
    uint32_t tile, job;
  };

  void transformAndCode();
  void code(const std::vector<JobIndex>& jobs, const std::vector<uint8_t>& most);
  void addGuardBits();
  void chooseLayers(int64_t boxes);

  const Options& m_options;
  const PictureInfo& m_info;
  std::span<const SampleView> m_samples;
  EncodePlan m_plan;
  EncodeWorkers m_workers;
  std::vector<TilePackets> m_tiles;
  std::vector<std::unique_ptr<TileEncoder>> m_encoders;
  std::vector<double> m_lost;  ///< squared errors that quantisation makes, by worker
};

/// Codes these blocks, each at most so many passes.
void PictureEncoder::code(const std::vector<JobIndex>& jobs, const std::vector<uint8_t>& most) {
  forEachInParallel(m_plan.threads, jobs.size(), [&](size_t i, int worker) {
    const JobIndex at = jobs[i];
    const EncodeJob& job = m_encoders[at.tile]->jobs()[at.job];
    BlockEncoder& encoder = *m_workers.blocks[size_t(worker)];
    encoder.load(job.plane, *job.coding, job.roi);
    m_tiles[at.tile].blocks[at.job] = encoder.encode(
        *job.coding, job.weight, most.empty() ? int(rkdCodeBlockMaxPasses) : int(most[i]),
        m_workers.arenas[size_t(worker)]);
  });
}

void PictureEncoder::transformAndCode() {
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    m_encoders.push_back(std::make_unique<TileEncoder>(m_plan, int64_t(t)));
    TileEncoder& encoder = *m_encoders.back();
    encoder.layOut(m_tiles[t]);
    encoder.transform(m_samples, m_workers);
    std::vector<JobIndex> jobs;
    for (size_t j = 0; j < encoder.jobs().size(); ++j) jobs.push_back({uint32_t(t), uint32_t(j)});
    code(jobs, {});
    encoder.release();
  }
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

void PictureEncoder::chooseLayers(int64_t boxes) {
  LayerCosts costs = fixedCosts(m_options, m_plan, m_encoders);
  costs.fixed += boxes;
  RateControl rate(m_tiles, costs);
  for (size_t l = 0; l < m_plan.goals.size(); ++l) {
    if (!rate.choose(int(l), m_plan.goals[l]) && l + 1 == m_plan.goals.size()) {
      fail(Diag::targetTooSmall);
    }
  }
}

void PictureEncoder::encode(std::vector<uint8_t>& file) {
  transformAndCode();
  addGuardBits();
  std::vector<uint8_t> boxes;
  if (!m_options.rawStream) writeBoxes(boxes, m_info, 0);
  chooseLayers(int64_t(boxes.size()));
  std::vector<uint8_t> stream;
  writeCodestream(m_options, m_plan, m_tiles, m_encoders, stream);
  file.clear();
  if (m_options.rawStream) {
    file = std::move(stream);
    return;
  }
  writeBoxes(file, m_info, stream.size());
  file.insert(file.end(), stream.begin(), stream.end());
}

}  // namespace

Status encodePicture(const Options& options, Diagnostics& diagnostics, const PictureInfo& info,
                     std::span<const SampleView> samples, std::vector<uint8_t>& file) {
  Reporter report(diagnostics, options.strict);
  try {
    PictureEncoder(options, info, samples).encode(file);
    return Status::ok;
  } catch (const Failure& failure) {
    report.failed(failure);
  } catch (const std::bad_alloc&) {
    report.failed({Diag::outOfMemory, {}});
  }
  return Status::failed;
}

}  // namespace j2k
