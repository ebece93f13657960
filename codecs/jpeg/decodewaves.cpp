// Decoding by several threads: bands of MCU rows become pixels side by side, while the blocks of
// the next rows are read, by restart intervals where there are such.
#include <algorithm>
#include <functional>

#include "decoder.h"

namespace jpeg {
namespace {

/// MCU rows between entropy decoder and pixels, while others are on the other side: the blocks of
/// their units one after the other.
struct Wave {
  int firstRow = 0, rows = 0;
  std::vector<CoefficientBlock> blocks;
};
/// MCU rows of a wave: as much as stays in a second-level cache, and rows enough for all threads,
/// below half the limit, because there are two waves at a time.
int rowsInWave(const Frame& frame, int blocksInMcu, const Workers& workers, size_t memoryLimit) {
  constexpr size_t kBytes = size_t{1} << 21;
  const size_t rowBytes = size_t(frame.mcusAcross) * size_t(blocksInMcu) * sizeof(CoefficientBlock);
  const size_t wanted =
      std::max(2 * size_t(workers.count()), std::min<size_t>(16, kBytes / rowBytes));
  const size_t fitting = std::max<size_t>(1, memoryLimit / 2 / rowBytes);
  return int(std::min({wanted, fitting, size_t(frame.mcusDown)}));
}

/// The lines of a wave that have room already, for threads to write theirs.
class WaveLines : public RowSink {
 public:
  /// @param first,count  lines of the region
  Status begin(int first, int count, RowSink& sink) {
    first_ = first;
    count_ = count;
    return count > 0 ? sink.room(first, count, &pixels_, &step_) : Status::ok;
  }
  Status end(RowSink& sink) const { return count_ > 0 ? sink.done(first_, count_) : Status::ok; }
  Status room(int first, int, uint8_t** pixels, ptrdiff_t* step) override {
    *pixels = pixels_ + step_ * (first - first_);
    *step = step_;
    return Status::ok;
  }
  Status done(int, int) override { return Status::ok; }

 private:
  int first_ = 0, count_ = 0;
  uint8_t* pixels_ = nullptr;
  ptrdiff_t step_ = 0;
};

/// Rows of blocks to pixels, a band of rows a task.
class Bands {
 public:
  /// Hands a row's blocks to pixels.
  using Feed = std::function<void(InversePixels& pixels, int mcuRow)>;

  Status init(const InverseJob& job, const Workers& workers) {
    pixels_ = std::vector<InversePixels>(size_t(workers.count()));
    for (InversePixels& p : pixels_) {
      JPEG_RETURN_IF_ERROR(p.init(*job.frame, *job.quantisers, job.setup));
    }
    return Status::ok;
  }
  /// Rows that the next tasks make. @return ok, and the sink's
  Status begin(int firstRow, int rows, RowSink& sink) {
    firstRow_ = firstRow;
    rows_ = rows;
    if (rows == 0) return Status::ok;
    outcomes_.assign(size_t(tasks()), Status::ok);
    const InversePixels::Lines lines = pixels_[0].linesOf(firstRow, firstRow + rows);
    return lines_.begin(lines.first, lines.count, sink);
  }
  int tasks() const { return std::min(rows_, 2 * int(pixels_.size())); }
  void make(int task, int worker, const Feed& feed);
  Status end(RowSink& sink) const {
    if (rows_ == 0) return Status::ok;
    for (const Status s : outcomes_) JPEG_RETURN_IF_ERROR(s);
    return lines_.end(sink);
  }

 private:
  std::vector<InversePixels> pixels_;
  std::vector<Status> outcomes_;
  WaveLines lines_;
  int firstRow_ = 0, rows_ = 0;
};

void Bands::make(int task, int worker, const Feed& feed) {
  InversePixels& pixels = pixels_[size_t(worker)];
  const int first = firstRow_ + rows_ * task / tasks();
  const int end = firstRow_ + rows_ * (task + 1) / tasks();
  if (first > 0 && pixels.needsRowBefore() && pixels.needsRow(first)) {
    feed(pixels, first - 1);
    pixels.keepLastRow();
  }
  for (int row = first; row < end; ++row) {
    if (pixels.needsRow(row)) feed(pixels, row);
    Status& outcome = outcomes_[size_t(task)];
    outcome = pixels.finishRow(row, lines_);
    if (isError(outcome)) return;
  }
}

}  // namespace

Status readBaselineInWaves(const ScanJob& job, const InverseJob& inverse, RowSink& sink,
                           Workers& workers, size_t memoryLimit) {
  const Frame& frame = *job.frame;
  const UnitBlocks unit = UnitBlocks::of(frame, *job.scan);
  Bands bands;
  JPEG_RETURN_IF_ERROR(bands.init(inverse, workers));
  const size_t rowBlocks = size_t(frame.mcusAcross) * size_t(unit.count);
  const int most = rowsInWave(frame, unit.count, workers, memoryLimit);
  Wave waves[2];                 // each behind the last row of the one before
  std::vector<uint8_t> last[2];  // where the coefficients of their blocks end
  for (Wave& w : waves) w.blocks.resize(rowBlocks * size_t(most + 1));
  for (auto& l : last) l.resize(rowBlocks * size_t(most + 1));
  RowsReader reader(job, 2 * workers.count());
  int turn = 0;
  for (int first = 0; first < frame.mcusDown || waves[1 - turn].rows > 0; first += most) {
    const Wave& ready = waves[1 - turn];
    Wave& next = waves[turn];
    next.firstRow = first;
    next.rows = std::clamp(frame.mcusDown - first, 0, most);
    const ptrdiff_t lastRow = ptrdiff_t(rowBlocks) * ready.rows;
    std::copy_n(ready.blocks.begin() + lastRow, rowBlocks, next.blocks.begin());
    std::copy_n(last[1 - turn].begin() + lastRow, rowBlocks, last[turn].begin());
    const auto feed = [&](InversePixels& pixels, int row) {
      const size_t at = rowBlocks * size_t(row - ready.firstRow + 1);
      pixels.units(unit, *job.scan, {0, frame.mcusAcross, &ready.blocks[at], &last[1 - turn][at]});
    };
    JPEG_RETURN_IF_ERROR(bands.begin(ready.firstRow, ready.rows, sink));
    JPEG_RETURN_IF_ERROR(
        reader.begin({next.firstRow, next.rows, &next.blocks[rowBlocks], &last[turn][rowBlocks]}));
    const int reading = reader.tasks();
    workers.run(reading + bands.tasks(), [&](int task, int worker) {
      if (task < reading) return reader.read(task);
      bands.make(task - reading, worker, feed);
    });
    reader.end();
    JPEG_RETURN_IF_ERROR(bands.end(sink));
    turn = 1 - turn;
  }
  return Status::ok;
}

Status inverseAllInBands(const Coefficients& coefficients, const InverseJob& inverse, RowSink& sink,
                         Workers& workers) {
  Bands bands;
  JPEG_RETURN_IF_ERROR(bands.init(inverse, workers));
  const int most = 8 * workers.count(), down = coefficients.frame.mcusDown;
  const auto feed = [&](InversePixels& pixels, int row) { pixels.rowOf(coefficients, row); };
  for (int first = 0; first < down; first += most) {
    JPEG_RETURN_IF_ERROR(bands.begin(first, std::min(most, down - first), sink));
    workers.run(bands.tasks(), [&](int task, int worker) { bands.make(task, worker, feed); });
    JPEG_RETURN_IF_ERROR(bands.end(sink));
  }
  return Status::ok;
}

}  // namespace jpeg
