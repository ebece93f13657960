// Baseline files with tables of their own: blocks are counted and kept as records of what they
// send, a fifth to a third of their size, and sent when the tables are known.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>

#include "coder.h"

namespace jpeg {
namespace {

/// The records of a row of MCUs, unit by unit.
struct RecordedRow {
  uint16_t* values = nullptr;
  int count = 0;
  std::array<int, kMaxComponents> firstAt{};  // where the record of a component's first block is
  std::array<int, kMaxComponents> lastDC{};
};

/// One worker's part of the records: what a row may take at most is there, and little of it is
/// used.
class RecordMemory {
 public:
  /// @param chunk  VALUES taken at a time, enough for a row
  void init(size_t chunk) { chunk_ = chunk; }
  uint16_t* room(size_t most) {
    if (chunks_.empty() || chunk_ - used_ < most) {
      chunks_.push_back(std::make_unique_for_overwrite<uint16_t[]>(chunk_));
      used_ = 0;
    }
    return chunks_.back().get() + used_;
  }
  void keep(size_t values) { used_ += values; }

 private:
  std::vector<std::unique_ptr<uint16_t[]>> chunks_;
  size_t chunk_ = 0, used_ = 0;
};

/// Bytes of records, against the limit.
struct Budget {
  size_t limit;
  std::atomic<size_t> used = 0;
  bool take(size_t bytes) { return (used += bytes) <= limit; }
};

/// One worker: rows of pixels to records.
class RowRecorder {
 public:
  Status init(const ForwardSetup& setup, int restartInterval, int workers, Budget* budget);
  Status row(int y, RowSource& source, RecordedRow* row);
  const SymbolCounts& counts() const { return counts_; }

 private:
  struct Recorded {
    size_t component = 0, set = 0;
  };
  ForwardPixels pixels_;
  McuBlocks blocks_;
  RecordMemory memory_;
  SymbolCounts counts_;
  Budget* budget_ = nullptr;
  std::array<Recorded, kMaxBlocksInMcu> recorded_{};
  int blocksInMcu_ = 0, mcusAcross_ = 0, interval_ = 0;
};

Status RowRecorder::init(const ForwardSetup& setup, int restartInterval, int workers,
                         Budget* budget) {
  const UnitBlocks unit = UnitBlocks::of(setup.frame, wholeScan(setup.frame));
  for (int b = 0; b < unit.count; ++b) {
    const int component = unit.place[size_t(b)].slot;
    recorded_[size_t(b)] = {size_t(component), size_t(tableSetOf(component, setup.color))};
  }
  blocksInMcu_ = unit.count;
  mcusAcross_ = setup.frame.mcusAcross;
  interval_ = restartInterval;
  budget_ = budget;
  // A photograph's records in one piece, where they are not too many.
  constexpr size_t kUsual = 16, kMost = size_t{1} << 23;
  const size_t row = size_t(mcusAcross_) * size_t(unit.count) * RKD_HUFFMAN_RECORD_LENGTH;
  memory_.init(std::max(row, std::min(kMost, kUsual * setup.frame.blocks() / size_t(workers))));
  return setup.make(&pixels_);
}

/// Recorded as if every row began an interval: see correctPredictions.
Status RowRecorder::row(int y, RowSource& source, RecordedRow* row) {
  JPEG_RETURN_IF_ERROR(pixels_.begin(y, source));
  const int most = mcusAcross_ * blocksInMcu_ * RKD_HUFFMAN_RECORD_LENGTH;
  row->values = memory_.room(size_t(most));
  row->firstAt.fill(-1);
  const auto pointers = blocks_.pointers();
  std::array<int, kMaxComponents> previousDC{};
  Intervals intervals(interval_, int64_t{y} * mcusAcross_);
  RkdStatus failure = rkdStsNoErr;
  for (int x = 0; x < mcusAcross_; ++x) {
    pixels_.mcu(x, &blocks_, pointers.data());
    if (intervals.endsHere()) previousDC.fill(0);
    for (int b = 0; b < blocksInMcu_; ++b) {
      const Recorded& r = recorded_[size_t(b)];
      if (row->firstAt[r.component] < 0) row->firstAt[r.component] = row->count;
      failure |= rkdiRecordHuffman8x8_JPEG_16s16u_C1(
          blocks_.block[b], row->values, most, &row->count, &previousDC[r.component],
          counts_.dc[r.set].data(), counts_.ac[r.set].data());
    }
  }
  row->lastDC = previousDC;
  memory_.keep(size_t(row->count));
  if (failure != rkdStsNoErr) return Status::libraryFailed;
  return budget_->take(size_t(row->count) * sizeof(uint16_t)) ? Status::ok
                                                              : Status::overMemoryLimit;
}

/// The first differences of rows, which were recorded without the row above.
void correctPredictions(const ForwardSetup& setup, int restartInterval,
                        std::vector<RecordedRow>& rows, SymbolCounts* counts) {
  const auto category = [](int difference) {
    return size_t(std::bit_width(unsigned(std::abs(difference))));
  };
  for (size_t y = 1; y < rows.size(); ++y) {
    const int64_t unit = int64_t(y) * setup.frame.mcusAcross;
    if (restartInterval > 0 && unit % restartInterval == 0) continue;
    for (int i = 0; i < setup.frame.componentCount; ++i) {
      uint16_t& record = rows[y].values[rows[y].firstAt[size_t(i)]];
      const int dc = int16_t(record), difference = dc - rows[y - 1].lastDC[size_t(i)];
      Statistics& statistics = counts->dc[size_t(tableSetOf(i, setup.color))];
      --statistics[category(dc)];
      ++statistics[category(difference)];
      record = uint16_t(difference);
    }
  }
}

Status writeRecords(const EncodeTables& tables, const ForwardSetup& setup, int restartInterval,
                    const std::vector<RecordedRow>& rows, Output& output) {
  UnitCoder coder(tables, setup.color, setup.frame);
  ScanWriter writer(&output);
  JPEG_RETURN_IF_ERROR(writer.start());
  Intervals intervals(restartInterval);
  for (const RecordedRow& row : rows) {
    int at = 0;
    for (int x = 0; x < setup.frame.mcusAcross; ++x) {
      if (intervals.endsHere()) JPEG_RETURN_IF_ERROR(writer.restart());
      JPEG_RETURN_IF_ERROR(output.makeRoom());
      if (coder.codeRecords(writer, row.values, row.count, &at) != rkdStsNoErr) {
        return Status::libraryFailed;
      }
    }
  }
  return writer.flush();
}

}  // namespace

Status writeOptimized(const ForwardSetup& setup, const EncodeOptions& options, RowSource& source,
                      Workers& workers, Output& output) {
  Budget budget{options.memoryLimit};
  std::vector<RowRecorder> recorders(size_t(workers.count()));
  for (RowRecorder& r : recorders) {
    JPEG_RETURN_IF_ERROR(r.init(setup, options.restartInterval, workers.count(), &budget));
  }
  std::vector<RecordedRow> rows(size_t(setup.frame.mcusDown));
  JPEG_RETURN_IF_ERROR(
      forEachMcuRow(setup.frame, source, workers, [&](int y, int worker, RowSource& pixels) {
        return recorders[size_t(worker)].row(y, pixels, &rows[size_t(y)]);
      }));
  SymbolCounts counts;
  for (const RowRecorder& r : recorders) counts += r.counts();
  correctPredictions(setup, options.restartInterval, rows, &counts);
  EncodeTables tables;
  for (size_t set = 0; set < 2; ++set) {
    tables.dc[set] = optimalTable(counts.dc[set]);
    tables.ac[set] = optimalTable(counts.ac[set]);
  }
  JPEG_RETURN_IF_ERROR(tables.begin(setup.frame, setup.color, output));
  return writeRecords(tables, setup, options.restartInterval, rows, output);
}

}  // namespace jpeg
