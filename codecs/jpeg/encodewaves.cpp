// Encoding row by row, by one thread or by several: waves of MCU rows are transformed in parallel,
// and while one wave is transformed the one before is coded, by restart intervals where there are
// such.
#include <algorithm>
#include <numeric>

#include "coder.h"

namespace jpeg {
namespace {

// ---- whole pictures ----

/// A row of a picture that is kept.
Status transformRow(int y, ForwardPixels& pixels, const UnitBlocks& unit, McuBlocks* scratch,
                    RowSource& source, Coefficients* coefficients) {
  const Frame& frame = coefficients->frame;
  std::array<int16_t*, kMaxBlocksInMcu> blocks{};
  std::array<ptrdiff_t, kMaxBlocksInMcu> steps{};
  for (int b = 0; b < unit.count; ++b) {
    const UnitBlocks::Place& p = unit.place[size_t(b)];
    const Component& c = frame.component[size_t(p.slot)];
    blocks[size_t(b)] = coefficients->block(p.slot, y * c.v + p.row, p.column);
    steps[size_t(b)] = 64 * ptrdiff_t{c.h};
  }
  JPEG_RETURN_IF_ERROR(pixels.begin(y, source));
  for (int x = 0; x < frame.mcusAcross; ++x) {
    pixels.mcu(x, scratch, blocks.data());
    for (size_t b = 0; b < size_t(unit.count); ++b) blocks[b] += steps[b];
  }
  return Status::ok;
}

}  // namespace

Status transformAll(const ForwardSetup& setup, RowSource& source, Workers& workers,
                    Coefficients* coefficients) {
  const Frame& frame = setup.frame;
  const UnitBlocks unit = UnitBlocks::of(frame, wholeScan(frame));
  std::vector<ForwardPixels> pixels(size_t(workers.count()));
  for (ForwardPixels& p : pixels) JPEG_RETURN_IF_ERROR(setup.make(&p));
  std::vector<McuBlocks> scratch(size_t(workers.count()));
  return forEachMcuRow(frame, source, workers, [&](int y, int worker, RowSource& band) {
    return transformRow(y, pixels[size_t(worker)], unit, &scratch[size_t(worker)], band,
                        coefficients);
  });
}

// ---- one pass ----

namespace {

/// What codes a chunk.
struct ChunkCoder {
  ChunkCoder(const EncodeTables& tables, Color color, const Frame& frame)
      : units(tables, color, frame) {}
  MemoryOutput memory;
  ScanWriter writer{&memory.output};
  UnitCoder units;
};

class WaveEncoder {
 public:
  WaveEncoder(const EncodeTables& tables, int restartInterval, const ForwardSetup& setup,
              RowSource& source, Workers& workers, size_t memoryLimit, Output& output)
      : tables_(tables),
        interval_(restartInterval),
        setup_(setup),
        frame_(setup.frame),
        source_(source),
        workers_(workers),
        memoryLimit_(memoryLimit),
        output_(output),
        pixels_(size_t(workers.count())),
        scratch_(size_t(workers.count())) {}
  Status run();

 private:
  Status start();
  std::vector<Chunk> chunksOf(const Wave& wave) const;
  void transformRow(int row, int worker, Wave* wave);
  Status code(const Chunk& chunk, bool isFirst, bool isLast, const Wave& wave, ChunkCoder* coder);
  Status step(Wave* next, const Wave& ready);
  Status gather(size_t chunks);

  const EncodeTables& tables_;
  const int interval_;
  const ForwardSetup& setup_;
  const Frame& frame_;
  RowSource& source_;
  Workers& workers_;
  const size_t memoryLimit_;
  Output& output_;
  std::vector<ForwardPixels> pixels_;
  std::vector<McuBlocks> scratch_;
  std::vector<std::unique_ptr<ChunkCoder>> coders_;
  std::vector<Status> outcomes_;
  RowBand band_;
  int blocksInMcu_ = 0, rowsInWave_ = 1;
};

Status WaveEncoder::start() {
  for (ForwardPixels& p : pixels_) JPEG_RETURN_IF_ERROR(setup_.make(&p));
  blocksInMcu_ = ScanGeometry::of(frame_, wholeScan(frame_)).blocksInUnit;
  rowsInWave_ = rowsInWave(frame_, blocksInMcu_, workers_, memoryLimit_);
  const size_t most = interval_ == 0 ? 1 : 2 * size_t(workers_.count());
  for (size_t i = 0; i < most; ++i) {
    coders_.push_back(std::make_unique<ChunkCoder>(tables_, setup_.color, frame_));
  }
  coders_[0]->writer.moveTo(&output_);
  return coders_[0]->writer.start();
}

/// A wave's units, cut where intervals end.
std::vector<Chunk> WaveEncoder::chunksOf(const Wave& wave) const {
  const int64_t from = int64_t{wave.firstRow} * frame_.mcusAcross;
  return cutAtIntervals({from, from + int64_t{wave.rows} * frame_.mcusAcross}, interval_,
                        int(coders_.size()));
}

void WaveEncoder::transformRow(int row, int worker, Wave* wave) {
  ForwardPixels& pixels = pixels_[size_t(worker)];
  Status& outcome = outcomes_[size_t(row)];
  outcome = pixels.begin(wave->firstRow + row, band_);
  if (isError(outcome)) return;
  CoefficientBlock* at =
      &wave->blocks[size_t(row) * size_t(frame_.mcusAcross) * size_t(blocksInMcu_)];
  for (int x = 0; x < frame_.mcusAcross; ++x) {
    std::array<int16_t*, kMaxBlocksInMcu> blocks{};
    for (int b = 0; b < blocksInMcu_; ++b) blocks[size_t(b)] = (at++)->values;
    pixels.mcu(x, &scratch_[size_t(worker)], blocks.data());
  }
}

/// @param isFirst  goes on where the wave before ended
/// @param isLast   the next wave goes on
Status WaveEncoder::code(const Chunk& chunk, bool isFirst, bool isLast, const Wave& wave,
                         ChunkCoder* coder) {
  Output& output = isFirst ? output_ : coder->memory.output;
  Intervals intervals(interval_, chunk.first);
  if (!isFirst) {
    JPEG_RETURN_IF_ERROR(coder->writer.startBehind(int(chunk.first / interval_) - 1));
    coder->units.resetPredictions();
    (void)intervals.endsHere();  // done already
  }
  const int64_t origin = int64_t{wave.firstRow} * frame_.mcusAcross;
  const CoefficientBlock* at = &wave.blocks[size_t(chunk.first - origin) * size_t(blocksInMcu_)];
  for (int64_t unit = chunk.first; unit < chunk.end; ++unit, at += blocksInMcu_) {
    if ((isFirst || unit > chunk.first) && intervals.endsHere()) {
      JPEG_RETURN_IF_ERROR(coder->writer.restart());
      coder->units.resetPredictions();
    }
    JPEG_RETURN_IF_ERROR(output.makeRoom());
    if (coder->units.code(coder->writer, at->values) != rkdStsNoErr) return Status::libraryFailed;
  }
  return isLast ? Status::ok : coder->writer.flush();
}

/// Puts the chunks' bytes in order, and the last one's coder in front for the next wave.
Status WaveEncoder::gather(size_t chunks) {
  for (size_t i = 1; i < chunks; ++i) {
    JPEG_RETURN_IF_ERROR(coders_[i]->memory.moveTo(output_));
  }
  if (chunks < 2) return Status::ok;
  ChunkCoder& first = *coders_[0];
  ChunkCoder& last = *coders_[chunks - 1];
  std::swap(first.writer, last.writer);
  first.writer.moveTo(&output_);
  last.writer.moveTo(&last.memory.output);
  first.units.setPredictions(last.units.predictions());
  return Status::ok;
}

/// Codes a wave while the next one is transformed.
Status WaveEncoder::step(Wave* next, const Wave& ready) {
  const std::vector<Chunk> chunks = chunksOf(ready);
  const int coding = int(chunks.size());
  outcomes_.assign(size_t(next->rows), Status::ok);
  std::vector<Status> coded(chunks.size(), Status::ok);
  workers_.run(coding + next->rows, [&](int task, int worker) {
    if (task >= coding) return transformRow(task - coding, worker, next);
    const size_t i = size_t(task);
    coded[i] = code(chunks[i], task == 0, task == coding - 1, ready, coders_[i].get());
  });
  JPEG_RETURN_IF_ERROR(firstError(coded));
  JPEG_RETURN_IF_ERROR(firstError(outcomes_));
  return gather(chunks.size());
}

Status WaveEncoder::run() {
  JPEG_RETURN_IF_ERROR(start());
  Wave waves[2];
  const size_t blocks = size_t(rowsInWave_) * size_t(frame_.mcusAcross) * size_t(blocksInMcu_);
  for (Wave& w : waves) w.blocks.resize(blocks);
  int turn = 0;
  for (int first = 0; first < frame_.mcusDown || waves[1 - turn].rows > 0; first += rowsInWave_) {
    Wave& next = waves[turn];
    next.firstRow = first;
    next.rows = std::clamp(frame_.mcusDown - first, 0, rowsInWave_);
    if (next.rows > 0) JPEG_RETURN_IF_ERROR(band_.take(source_, frame_, first, next.rows));
    JPEG_RETURN_IF_ERROR(step(&next, waves[1 - turn]));
    turn = 1 - turn;
  }
  return coders_[0]->writer.flush();
}

/// Pictures where every so many MCU rows an interval begins with the row: a task does everything
/// for these rows, and its blocks never leave the cache.
class RowEncoder {
 public:
  RowEncoder(const EncodeTables& tables, int restartInterval, const ForwardSetup& setup)
      : tables_(tables), interval_(restartInterval), setup_(setup), frame_(setup.frame) {}
  static bool suits(int restartInterval, const Frame& frame) {
    if (restartInterval == 0) return false;
    const int rows = rowsInTask(restartInterval, frame);
    // Where tasks would be long, waves whose intervals begin anywhere are better shared.
    return restartInterval % frame.mcusAcross == 0 || rows <= std::min(8, frame.mcusDown / 4);
  }
  Status run(RowSource& source, Workers& workers, Output& output);

 private:
  /// From one row that begins an interval to the next.
  static int rowsInTask(int restartInterval, const Frame& frame) {
    return restartInterval / std::gcd(restartInterval, frame.mcusAcross);
  }
  Status code(int first, int end, ForwardPixels& pixels, MemoryOutput* made);

  const EncodeTables& tables_;
  const int interval_;
  const ForwardSetup& setup_;
  const Frame& frame_;
  RowBand band_;
};

/// Rows, and what ends the interval before them or begins the scan.
Status RowEncoder::code(int first, int end, ForwardPixels& pixels, MemoryOutput* made) {
  UnitCoder units(tables_, setup_.color, frame_);
  ScanWriter writer(&made->output);
  const int64_t unit = int64_t{first} * frame_.mcusAcross;
  JPEG_RETURN_IF_ERROR(first == 0 ? writer.start() : writer.startBehind(int(unit / interval_) - 1));
  Intervals intervals(interval_, unit);
  if (first > 0) (void)intervals.endsHere();  // done already
  McuBlocks blocks;
  const auto pointers = blocks.pointers();
  for (int y = first; y < end; ++y) {
    JPEG_RETURN_IF_ERROR(pixels.begin(y, band_));
    for (int x = 0; x < frame_.mcusAcross; ++x) {
      const bool isBegun = first > 0 && y == first && x == 0;
      if (!isBegun && intervals.endsHere()) {
        JPEG_RETURN_IF_ERROR(writer.restart());
        units.resetPredictions();
      }
      JPEG_RETURN_IF_ERROR(made->output.makeRoom());
      pixels.mcu(x, &blocks, pointers.data());
      if (units.code(writer, blocks.block[0]) != rkdStsNoErr) return Status::libraryFailed;
    }
  }
  return writer.flush();
}

Status RowEncoder::run(RowSource& source, Workers& workers, Output& output) {
  std::vector<ForwardPixels> pixels(size_t(workers.count()));
  for (ForwardPixels& p : pixels) JPEG_RETURN_IF_ERROR(setup_.make(&p));
  const int rowsEach = rowsInTask(interval_, frame_);
  // Enough for threads to wait little at the end, and no more of the picture at a time than that
  // takes.
  const int wanted = std::max(workers.count(), 8 * workers.count() / rowsEach);
  const int tasks = std::min(wanted, ceilDiv(frame_.mcusDown, rowsEach));
  std::vector<MemoryOutput> made(static_cast<size_t>(tasks));
  std::vector<Status> outcomes(size_t(tasks), Status::ok);
  const int rowsInWave = int(std::min(int64_t{rowsEach} * tasks, int64_t{frame_.mcusDown}));
  for (int first = 0; first < frame_.mcusDown; first += rowsInWave) {
    const int rows = std::min(rowsInWave, frame_.mcusDown - first);
    const int count = ceilDiv(rows, rowsEach);
    JPEG_RETURN_IF_ERROR(band_.take(source, frame_, first, rows));
    workers.run(count, [&](int task, int worker) {
      const int from = first + task * rowsEach;
      outcomes[size_t(task)] = code(from, std::min(from + rowsEach, first + rows),
                                    pixels[size_t(worker)], &made[size_t(task)]);
    });
    JPEG_RETURN_IF_ERROR(firstError(outcomes));
    for (int task = 0; task < count; ++task) {
      JPEG_RETURN_IF_ERROR(made[size_t(task)].moveTo(output));
    }
  }
  return Status::ok;
}

}  // namespace

Status writeBaselineInWaves(const EncodeTables& tables, int restartInterval,
                            const ForwardSetup& setup, RowSource& source, Workers& workers,
                            size_t memoryLimit, Output& output) {
  if (RowEncoder::suits(restartInterval, setup.frame)) {
    return RowEncoder(tables, restartInterval, setup).run(source, workers, output);
  }
  return WaveEncoder(tables, restartInterval, setup, source, workers, memoryLimit, output).run();
}

}  // namespace jpeg
